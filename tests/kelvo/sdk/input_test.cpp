#include "kelvo/sdk/input.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

class InputHandle : public testing::Test {
protected:
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("thing", "thing");
};

TEST_F(InputHandle, Empty_AnswersNothing) {
    const Input input;
    EXPECT_FALSE(input.set(1));
    EXPECT_EQ(input.get<int>(7), 7);
    EXPECT_TRUE(input.name().isEmpty());
    EXPECT_EQ(input.type(), AttrType::Null);
    EXPECT_EQ(input.inputCount(), 0u);
    EXPECT_FALSE(input.input(0));
    EXPECT_FALSE(input["x"]);
    EXPECT_FALSE(input.append());
    EXPECT_FALSE(input.connect(Output()));
    EXPECT_FALSE(input.source());
    EXPECT_TRUE(input.buffer<float>().empty());
    EXPECT_FALSE(input.asNode(true, nullptr));
}

TEST_F(InputHandle, Empty_IsDescribedByNothing) {
    const Input input;
    EXPECT_TRUE(input.path().isEmpty());
    EXPECT_TRUE(input.typeName().isEmpty());
    EXPECT_EQ(input.elementType(), AttrType::Null);
    EXPECT_EQ(input.node(), nullptr);
    EXPECT_TRUE(input.label().isEmpty());
    EXPECT_TRUE(input.help().isEmpty());
    EXPECT_TRUE(input.unit().isEmpty());
    EXPECT_FALSE(input.isReadOnly());
    EXPECT_FALSE(input.isDefault());
}

TEST_F(InputHandle, Empty_TakesNothing) {
    const Input input;
    EXPECT_FALSE(input.setString("x"));
    EXPECT_FALSE(input.reset());
    EXPECT_FALSE(input.disconnect());
    EXPECT_FALSE(input.createInput("x", AttrType::Int));
    EXPECT_TRUE(input.asString().isEmpty());
}

TEST_F(InputHandle, Empty_HoldsNothing) {
    const Input input;
    EXPECT_FALSE(input.rename("x"));
    EXPECT_FALSE(input.parent());
    EXPECT_EQ(input.dataType(), DataType::Null);
    EXPECT_FALSE(input.isSilent());
    EXPECT_TRUE(input.inputs().empty());
    EXPECT_FALSE(input.hasInput("x"));
    EXPECT_FALSE(input.insert(0));
    EXPECT_FALSE(input.moveElement(0, 0));
    EXPECT_FALSE(input.removeInput(u64(0)));
    EXPECT_FALSE(input.removeInput("x"));
    EXPECT_FALSE(input.clearInputs());
}

TEST_F(InputHandle, Elements_AreInsertedMovedAndRemoved) {
    const Input list = m_node.createArray("list", AttrType::Int);
    for (int value : {1, 2, 3})
        list.append().set(value);
    const Input made = list.insert(1);
    made.set(7);
    EXPECT_EQ(made.parent(), list);
    EXPECT_EQ(list.inputs()[1], made);
    EXPECT_TRUE(list.moveElement(1, 3));
    EXPECT_EQ(made.name(), "3");
    EXPECT_TRUE(list.removeInput(u64(0)));
    EXPECT_EQ(list.inputs().size(), 3u);
    EXPECT_TRUE(list.clearInputs());
    EXPECT_EQ(list.inputCount(), 0u);
    EXPECT_FALSE(list.parent());
}

TEST_F(InputHandle, Members_AreAskedForAndRemoved) {
    const Input object = m_node.createInput("o", AttrType::Object);
    object.createInput("m", AttrType::Real);
    EXPECT_TRUE(object.hasInput("M"));
    EXPECT_FALSE(object.hasInput("m", AttrType::Int));
    EXPECT_TRUE(object.removeInput("m"));
    EXPECT_FALSE(object.hasInput("m"));
}

TEST_F(InputHandle, DataType_IsThatOfABuffer) {
    EXPECT_EQ(m_node.createBuffer("b", DataType::Pos3f).dataType(), DataType::Pos3f);
    EXPECT_EQ(m_node.createInput("i", AttrType::Int).dataType(), DataType::Null);
}

TEST_F(InputHandle, TellsWhatItsInputIs) {
    const Input list = m_node.createArray("bigList", AttrType::Int);
    EXPECT_EQ(list.name(), "bigList");
    EXPECT_EQ(list.path(), "thing.bigList");
    EXPECT_EQ(list.type(), AttrType::Array);
    EXPECT_EQ(list.typeName(), "Array<Int>");
    EXPECT_EQ(list.elementType(), AttrType::Int);
    EXPECT_EQ(list.node(), m_node.get());
    EXPECT_EQ(list.label("en"), "BigList");
    EXPECT_TRUE(list.append());
    EXPECT_EQ(list.inputCount(), 1u);
}

TEST_F(InputHandle, ValueThatWasSet_IsTheDefaultAgainAfterReset) {
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(input.isDefault());
    EXPECT_TRUE(input.setString("5"));
    EXPECT_FALSE(input.isDefault());
    EXPECT_TRUE(input.reset());
    EXPECT_EQ(input.get<int>(3), 0);
}

TEST_F(InputHandle, Connection_IsMadeAndEnded) {
    const Node other = m_scene.createNode("thing", "other");
    const Output output = other.createOutput("out", AttrType::Int);
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(input.connect(output));
    EXPECT_EQ(input.source(), output);
    EXPECT_TRUE(input.disconnect());
    EXPECT_FALSE(input.source());
    EXPECT_FALSE(input.disconnect());
}

// Sets a value of the input's kind, and reads it back.
template<typename T>
void expectKept(const Node& node, AttrType type, const T& value) {
    const Input input = node.createInput(String("in") + attrTypeName(type), type);
    EXPECT_TRUE(input.set(value)) << input.path().buf();
    T kept{};
    EXPECT_TRUE(input.read(kept)) << input.path().buf();
    EXPECT_EQ(kept, value) << input.path().buf();
}

TEST_F(InputHandle, ValuesOfEveryKind_AreKept) {
    expectKept(m_node, AttrType::Bool, true);
    expectKept(m_node, AttrType::Int, -5);
    expectKept(m_node, AttrType::UInt, ~u64{0});
    expectKept(m_node, AttrType::Real, 2.5);
    expectKept(m_node, AttrType::Vec2, math::Vec2d{1, 2});
    expectKept(m_node, AttrType::Vec3, math::Vec3d{1, 2, 3});
    expectKept(m_node, AttrType::Vec4, math::Vec4d{1, 2, 3, 4});
    expectKept(m_node, AttrType::Pos2, math::Pos2d{1, 2});
    expectKept(m_node, AttrType::Pos3, math::Pos3d{1, 2, 3});
    expectKept(m_node, AttrType::Quat, math::Quatd{1, 2, 3, 4});
    expectKept(m_node, AttrType::Rgba, math::Rgbad{0.1, 0.2, 0.3, 0.4});
    math::Mat3d mat3 = math::Mat3d::identity;
    mat3.m[0][1] = 7;
    expectKept(m_node, AttrType::Mat3, mat3);
    math::Mat4d mat4 = math::Mat4d::identity;
    mat4.m[0][1] = 7;
    expectKept(m_node, AttrType::Mat4, mat4);
    expectKept(m_node, AttrType::String, String("text"));
    expectKept(m_node, AttrType::Node, m_node.get());
}

TEST_F(InputHandle, Link_IsSetByHandle) {
    const Input link = m_node.createInput("link", AttrType::Node);
    EXPECT_TRUE(link.set(m_node));
    EXPECT_EQ(link.asNode(), m_node);
    EXPECT_TRUE(link.set(Node()));
    EXPECT_FALSE(link.asNode());
}

TEST_F(InputHandle, Float_ThatDoesNotConvert_IsLeftAlone) {
    const Input input = m_node.createInput("m", AttrType::Mat4);
    float value = 4;
    unsigned count = 5;
    EXPECT_FALSE(input.read(value));
    EXPECT_FALSE(input.read(count));
    EXPECT_EQ(value, 4);
    EXPECT_EQ(count, 5u);
}

TEST_F(InputHandle, UnsignedBeyondItsWidth_IsLeftAlone) {
    const Input input = m_node.createInput("n", AttrType::UInt);
    EXPECT_TRUE(input.set(300u));
    unsigned char narrow = 5;
    EXPECT_FALSE(input.read(narrow));
    EXPECT_EQ(narrow, 5);
    unsigned short wide = 5;
    EXPECT_TRUE(input.read(wide));
    EXPECT_EQ(wide, 300);
}

TEST_F(InputHandle, NumbersOfAnyWidth_AreWrittenAndRead) {
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(input.set(static_cast<short>(-5)));
    EXPECT_EQ(input.get<i64>(), -5);
    EXPECT_EQ(input.get<float>(), -5.0f);
    float real = 0;
    EXPECT_TRUE(input.read(real));
    EXPECT_EQ(real, -5.0f);
    EXPECT_EQ(input.get<unsigned>(3u), 3u) << "a negative number is no unsigned one";
    EXPECT_TRUE(input.set(1000));
    EXPECT_EQ(input.get<signed char>(2), 2) << "out of the range of the type";
    EXPECT_TRUE(input.set(true));
    EXPECT_TRUE(input.get<bool>());
}

TEST_F(InputHandle, Buffers_AreTypedSpans) {
    const Input input = m_node.createInput("b", AttrType::Buffer);
    const std::vector<float> floats = {1, 2, 3};
    EXPECT_TRUE(input.setBuffer(floats));
    ASSERT_EQ(input.buffer<float>().size(), 3u);
    EXPECT_EQ(input.buffer<float>()[2], 3.0f);
    EXPECT_TRUE(input.buffer<double>().empty());
}

TEST_F(InputHandle, Read_ThatFails_LeavesTheValueAlone) {
    const Input input = m_node.createInput("m", AttrType::Mat4);
    double value = 4;
    EXPECT_FALSE(input.read(value));
    EXPECT_EQ(value, 4);
}

TEST_F(InputHandle, KeepsTheInputAlive) {
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(m_node.removeInput("n"));
    EXPECT_TRUE(input.set(4));
    EXPECT_EQ(input.get<int>(), 4);
    EXPECT_EQ(input.node(), nullptr);
}

TEST_F(InputHandle, Members_AreReachedByName) {
    const Input object = m_node.createInput("o", AttrType::Object);
    object.createInput("size", AttrType::Real).set(2.5);
    EXPECT_EQ(m_node["o"]["size"].get<double>(), 2.5);
    EXPECT_EQ(m_node.inputAt("o.size").path(), "thing.o.size");
}

TEST_F(InputHandle, ByItself_ConvertsAndIsWrittenAsText) {
    const Input number = Input::create(AttrType::Int);
    EXPECT_EQ(number.get<int>(-1), 0);
    EXPECT_TRUE(number.setString("7"));
    EXPECT_EQ(number.get<double>(), 7);
    EXPECT_FALSE(number.setString("7.5"));
    EXPECT_EQ(number.node(), nullptr);
    const Input matrix = Input::create(AttrType::Mat3);
    EXPECT_EQ(matrix.asString(), "(1 0 0  0 1 0  0 0 1)");
}

TEST_F(InputHandle, CopyValue_TakesOverWhatIsStoredAndConverts) {
    const Input from = m_node.createInput("from", AttrType::Int);
    const Input to = m_node.createInput("to", AttrType::String);
    from.set(12);
    EXPECT_TRUE(to.copyValue(from));
    EXPECT_EQ(to.get<String>(), "12");
    EXPECT_FALSE(m_node.createInput("matrix", AttrType::Mat4).copyValue(from));
    EXPECT_FALSE(to.copyValue(m_node.createArray("list", AttrType::Int)));
    EXPECT_FALSE(to.copyValue(Input()));
    EXPECT_FALSE(Input().copyValue(to));
    EXPECT_EQ(to.get<String>(), "12");
}

TEST_F(InputHandle, Members_MayBeArraysAndBuffersOfAKind) {
    const Input object = m_node.createInput("o", AttrType::Object);
    EXPECT_EQ(object.createArray("list", AttrType::Real).typeName(), "Array<Real>");
    const Input points = object.createBuffer("points", DataType::Pos3f);
    EXPECT_EQ(points.typeName(), "Buffer<Pos3f>");
    EXPECT_FALSE(points.setBuffer(std::array{1.0f, 2.0f}));
    EXPECT_EQ(object.createBuffer("points", DataType::Pos3f), points);
    EXPECT_FALSE(Input().createBuffer("points", DataType::Pos3f));
}

TEST_F(InputHandle, ReadOnlyObject_TakesNoMemberOfAnyKind) {
    ASSERT_TRUE(m_scene.read("node a \"a\" {\n    Object o {\n    } @readonly\n}\n", "a.kns"));
    const Input object = m_scene["a"]["o"];
    EXPECT_FALSE(object.createInput("x", AttrType::Real));
    EXPECT_FALSE(object.createArray("x", AttrType::Real));
    EXPECT_FALSE(object.createBuffer("x", DataType::Float));
    EXPECT_EQ(object.inputCount(), 0u);
}

TEST_F(InputHandle, Dependencies_AreTheNodesBehindThatInputAlone) {
    const Node lamp = m_scene.createNode("lamp", "lamp");
    const Node stand = m_scene.createNode("stand", "stand");
    lamp.createInput("on", AttrType::Node).set(stand);
    m_node.createArray("lamps", AttrType::Node).append().set(lamp);
    m_node.createInput("other", AttrType::Real);
    const ds::Vector<Node> nodes = m_node["lamps"].dependencies();
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0], lamp);
    EXPECT_EQ(nodes[1], stand);
    EXPECT_TRUE(m_node["other"].dependencies().empty());
    EXPECT_TRUE(Input().dependencies().empty());
}

TEST_F(InputHandle, AModifier_KeepsTheValueOfTheUser) {
    m_scene.addLibrary(LibInfo::standard());
    const Node modifier = m_scene.createNode("scaleModifier", "half");
    modifier["modifies"].set("size");
    modifier["factor"].set(0.5);
    const Input size = m_node.createInput("size", AttrType::Real);
    size.set(6.0);
    EXPECT_FALSE(size.isModified());
    EXPECT_FALSE(size.keptValue());
    m_node.createArray("modifiers", AttrType::Node).append().set(modifier);
    EXPECT_EQ(size.get<double>(), 3);
    EXPECT_TRUE(size.isModified());
    EXPECT_EQ(size.keptValue().get<double>(), 6);
    modifier["factor"].set(1.0);
    EXPECT_FALSE(size.isModified());
    EXPECT_FALSE(Input().isModified());
    EXPECT_FALSE(Input().keptValue());
}

TEST_F(InputHandle, MarkOfTheText_IsTold) {
    ASSERT_TRUE(m_scene.read("node a \"a\" {\n    Real size = 3 @silent\n}\n", "a.kns"));
    EXPECT_TRUE(m_scene["a"]["size"].isSilent());
}

TEST_F(InputHandle, AValueKeptInTheText_IsNoModification) {
    ASSERT_TRUE(m_scene.read("node a \"a\" {\n    Real size = 3 @stashed 2\n}\n", "a.kns"));
    const Input size = m_scene["a"]["size"];
    EXPECT_EQ(size.keptValue().get<double>(), 2);
    EXPECT_FALSE(size.isModified());
}

} // namespace
} // namespace qv::kelvo_sdk
