#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "tests/support/scene_text.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::nodeText;
using tests::rewritten;
using tests::sceneOf;
using tests::textOf;

class SceneWriterOfANode : public testing::Test {
protected:
    Input& create(AttrData data) {
        return static_cast<Input&>(*m_node->createInput("x", std::move(data)));
    }
    Input& create(AttrType type) { return create(AttrData(type)); }

    /// Checks the written text, and that it stays the same when it is read and written again.
    void expectLines(std::string_view lines) {
        const std::string text = textOf(m_scene);
        EXPECT_EQ(text, nodeText(lines));
        EXPECT_EQ(rewritten(text), text);
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    Node* m_node = static_cast<Node*>(m_scene->createNode("t", "n"));
};

// ---- Kinds -------------------------------------------------------------------------------------

struct KindCase {
    AttrType type;
    const char* fresh;
    const char* value;
    const char* line;
};

class SceneWriterKind : public SceneWriterOfANode, public testing::WithParamInterface<KindCase> {};

TEST_P(SceneWriterKind, NewInput) {
    create(GetParam().type);
    expectLines(GetParam().fresh);
}

TEST_P(SceneWriterKind, Value) {
    ASSERT_TRUE(create(GetParam().type).setString(GetParam().value));
    expectLines(GetParam().line);
}

const KindCase kPlainKinds[] = {
    {AttrType::Bool, "Bool x = false", "true", "Bool x = true"},
    {AttrType::Int, "Int x = 0", "-9223372036854775808", "Int x = -9223372036854775808"},
    {AttrType::UInt, "UInt x = 0", "18446744073709551615", "UInt x = 18446744073709551615"},
    {AttrType::Real, "Real x = 0", "0.1", "Real x = 0.1"},
    {AttrType::Vec2, "Vec2 x = (0 0)", "(1 -2)", "Vec2 x = (1 -2)"},
    {AttrType::Vec3, "Vec3 x = (0 0 0)", "(1 2 3)", "Vec3 x = (1 2 3)"},
    {AttrType::Vec4, "Vec4 x = (0 0 0 0)", "(1 2 3 4)", "Vec4 x = (1 2 3 4)"},
    {AttrType::Pos2, "Pos2 x = (0 0)", "(1 2)", "Pos2 x = (1 2)"},
    {AttrType::Pos3, "Pos3 x = (0 0 0)", "(1 2 3)", "Pos3 x = (1 2 3)"},
    {AttrType::Quat, "Quat x = (0 0 0 1)", "(1 2 3 4)", "Quat x = (1 2 3 4)"},
    {AttrType::Rgba, "Rgba x = (0 0 0 1)", "(1 2 3 4)", "Rgba x = (1 2 3 4)"},
    {AttrType::Mat3, "Mat3 x = (1 0 0  0 1 0  0 0 1)", "(1 2 3 4 5 6 7 8 9)",
     "Mat3 x = (1 2 3  4 5 6  7 8 9)"},
    {AttrType::Mat4, "Mat4 x = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)",
     "(1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16)",
     "Mat4 x = (1 2 3 4  5 6 7 8  9 10 11 12  13 14 15 16)"},
    {AttrType::String, "String x = \"\"", "some # \"text\"", "String x = \"some # \\\"text\\\"\""},
    {AttrType::Node, "Node x = null", "n", "Node x = n"},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneWriterKind, testing::ValuesIn(kPlainKinds));

TEST_F(SceneWriterOfANode, KindsThatHoldNothing) {
    m_node->createInput("a", AttrType::Null);
    m_node->createInput("b", AttrType::Object);
    m_node->createInput("c", AttrType::Array);
    m_node->createArray("d", AttrType::Real);
    m_node->createInput("e", AttrType::Buffer);
    expectLines("Null a\nObject b {\n}\nArray<Null> c = []\nArray<Real> d = []\nBuffer e = []");
}

TEST_F(SceneWriterOfANode, AKindOutOfRange_IsWrittenAsNothing) {
    m_node->createInput("x", static_cast<AttrType>(77));
    m_node->createOutput("o", static_cast<AttrType>(77));
    EXPECT_EQ(textOf(m_scene), nodeText("Null x\noutput Null o"));
}

// ---- Arrays and objects ------------------------------------------------------------------------

TEST_F(SceneWriterOfANode, ArraysOfEachKind) {
    const char* const lines = "Array<Null> a = [null, null]\n"
                              "Array<Bool> b = [true, false]\n"
                              "Array<Vec2> c = [(1 2), (3 4)]\n"
                              "Array<String> d = [\"x\", \"\"]\n"
                              "Array<Node> e = [n, null]\n"
                              "Array<Buffer> f = [Buffer<Pos2f> [(1 2)], [], Buffer<Byte> [255]]\n"
                              "Array<Array> g = [Array<Real> [1], Array<Array> [Array<Null> []]]\n"
                              "Array<Mat3> h = [(1 0 0  0 1 0  0 0 1)]";
    EXPECT_EQ(rewritten(nodeText(lines)), nodeText(lines));
}

TEST_F(SceneWriterOfANode, ObjectsStandInBlocks) {
    IInput* object = m_node->createInput("o", AttrType::Object);
    object->createInput("a", AttrType::Int);
    object->createInput("b", AttrType::Object)->createInput("c", AttrType::Bool);
    IInput* array = m_node->createArray("list", AttrType::Object);
    array->appendElement()->createInput("d", AttrType::Real);
    array->appendElement();
    EXPECT_EQ(textOf(m_scene), "kelvo scene 1\n\nnode t \"n\" {\n"
                               "    Object o {\n"
                               "        Int a = 0\n"
                               "        Object b {\n"
                               "            Bool c = false\n"
                               "        }\n"
                               "    }\n"
                               "    Array<Object> list = [{\n"
                               "        Real d = 0\n"
                               "    }, {\n"
                               "    }]\n"
                               "}\n");
    EXPECT_EQ(rewritten(textOf(m_scene)), textOf(m_scene));
}

TEST_F(SceneWriterOfANode, ElementsCarryWhatInputsCarry) {
    const char* const lines = "Array<Real> a = [1 <- n2.o @stashed 2, 3 @readonly, 4 @silent]\n"
                              "Array<Node> b = [n @stashed n2]\n"
                              "Array<Array> c = [Array<Real> [1] @silent]\n";
    const std::string text = nodeText(lines) + "node t \"n2\" {\n    output Real o\n}\n";
    EXPECT_EQ(rewritten(text), text);
}

// ---- Annotations -------------------------------------------------------------------------------

TEST_F(SceneWriterOfANode, AnnotationsStandInAFixedOrder) {
    AttrData data = AttrData::withDefault(2.0);
    AttrDetails& details = data.describe();
    details.minimum = 0.0;
    details.maximum = 10.0;
    details.unit = "cm";
    details.choices = {2.0, 3.0};
    details.labels = {{"de", "Radius"}, {"en", "Radius"}};
    details.helps = {{"en", "Says \"how far\"."}};
    data.silent = true;
    Input& input = create(std::move(data));
    input.setStashed(3.0);
    input.setReadOnly(true);
    expectLines("Real x = 2 @stashed 3 @silent @readonly @default 2 @min 0 @max 10 @unit \"cm\" "
                "@choices [2, 3] @label \"de\" \"Radius\" @label \"en\" \"Radius\" "
                "@help \"en\" \"Says \\\"how far\\\".\"");
}

TEST_F(SceneWriterOfANode, AValueOutsideItsDescription_IsMarkedAndReadBack) {
    AttrData data(AttrType::Real);
    data.describe().minimum = 1.0;
    create(std::move(data));
    expectLines("Real x = 0 @unchecked @min 1");
}

TEST_F(SceneWriterOfANode, AnnotationsOfAnotherKind_NameIt) {
    AttrData data(AttrType::Real);
    data.describe().minimum = i64(-1);
    data.describe().maximum = "much";
    create(std::move(data));
    expectLines("Real x = 0 @min Int -1 @max String \"much\"");
}

TEST_F(SceneWriterOfANode, ABoundBuffer_NamesItsType) {
    AttrData data(AttrType::Buffer);
    data.dataType = DataType::Pos3f;
    Input& input = create(std::move(data));
    expectLines("Buffer x = [] @type Pos3f");
    ASSERT_TRUE(input.setString("[(1 2 3)]"));
    expectLines("Buffer<Pos3f> x = [(1 2 3)] @type Pos3f");
}

TEST_F(SceneWriterOfANode, AnArrayOfBoundBuffers_NamesItsTypeOnce) {
    AttrData data(AttrType::Array);
    data.elementType = AttrType::Buffer;
    data.dataType = DataType::Float;
    Input& input = create(std::move(data));
    ASSERT_TRUE(input.appendElement()->setString("[1 2]"));
    expectLines("Array<Buffer> x = [Buffer<Float> [1 2]] @type Float");
    const auto again = sceneOf(textOf(m_scene));
    EXPECT_FALSE(again["n"]["x"].append()->setBuffer({DataType::Byte, "a", 1}));
}

TEST_F(SceneWriterOfANode, AStashedBuffer_NamesItsTypeWhereItDiffers) {
    Input& input = create(AttrType::Buffer);
    ASSERT_TRUE(input.setValue(Buffer(DataType::Float, 1)));
    input.stash();
    expectLines("Buffer<Float> x = [0] @stashed [0]");
    ASSERT_TRUE(input.setValue(Buffer(DataType::Byte, 1)));
    expectLines("Buffer<Byte> x = [0] @stashed Buffer<Float> [0]");
}

TEST_F(SceneWriterOfANode, ANodeAsDefault_IsReadBack) {
    const char* const lines = "Node x = n @default n\nNode y = null @default n\n"
                              "Node z = n @choices [n, null]";
    EXPECT_EQ(rewritten(nodeText(lines)), nodeText(lines));
    EXPECT_EQ(rewritten(nodeText("Node x @default n")), nodeText("Node x = n @default n"));
}

// ---- Names -------------------------------------------------------------------------------------

TEST_F(SceneWriterOfANode, NodesWithTheNamesOfWords_AreLinkedTo) {
    m_scene.createNode("node", "null");
    m_scene.createNode("t", "Int");
    m_scene.createNode("t", "node").createInput("self", AttrType::Node).set(m_scene["node"]);
    m_node->createInput("x", AttrType::Node)->setString("null");
    m_node->createInput("y", AttrType::Node)->setString("Int");
    static_cast<Input*>(m_node->input(u64(1)))->setStashed(Value(m_scene["Int"].get()));
    const std::string text = textOf(m_scene);
    EXPECT_EQ(text, "kelvo scene 1\n\nnode t \"n\" {\n    Node x = \"null\"\n"
                    "    Node y = Int @stashed Int\n}\n"
                    "node node \"null\" {\n}\nnode t \"Int\" {\n}\n"
                    "node t \"node\" {\n    Node self = node\n}\n");
    EXPECT_EQ(rewritten(text), text);
}

TEST_F(SceneWriterOfANode, AttributesWithTheNamesOfWords_AreReadBack) {
    m_node->createInput("node", AttrType::Real);
    m_node->createInput("output", AttrType::Bool);
    m_node->createInput("Real", AttrType::Real);
    m_node->createOutput("output", AttrType::Real);
    expectLines("Real node = 0\nBool output = false\nReal Real = 0\noutput Real output");
}

TEST_F(SceneWriterOfANode, InputsOfOneNameAndTwoKinds_AreBothReadBack) {
    m_node->createInput("x", AttrType::Int)->setInt(1);
    m_node->createInput("X", AttrType::Real)->setReal(2);
    expectLines("Int x = 1\nReal X = 2");
}

TEST_F(SceneWriterOfANode, InputsOfOneNameAndKind_AreMarkedAndReadBack) {
    m_node->createInput("x", AttrType::Int);
    m_node->createInput("x", AttrType::Real)->setReal(1);
    m_node->createInput("x", AttrType::Real)->setReal(2);
    m_node->removeInput("x");
    m_node->createOutput("o", AttrType::Int);
    m_node->createOutput("o", AttrType::Real);
    m_node->createOutput("o", AttrType::Real);
    m_node->removeOutput("o");
    expectLines("Real x = 1\nReal x = 2 @again\noutput Real o\noutput Real o @again");
}

TEST_F(SceneWriterOfANode, ManyInputs_RepeatsAreFoundToo) {
    std::string lines;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "a" + std::to_string(i);
        m_node->createInput(String(name), AttrType::Real);
        lines += "Real " + name + " = 0\n";
    }
    m_node->createInput("x", AttrType::Int);
    m_node->createInput("x", AttrType::Real)->setReal(1);
    m_node->createInput("X", AttrType::Real)->setReal(2);
    m_node->removeInput("x");
    expectLines(lines + "Real x = 1\nReal X = 2 @again");
}

TEST_F(SceneWriterOfANode, BasesAndFlags) {
    m_node->setBases({"geometry", "object"}, true, true);
    const std::string text = textOf(m_scene);
    EXPECT_EQ(text, "kelvo scene 1\n\nnode t : geometry, object \"n\" @abstract @internal {\n}\n");
    EXPECT_EQ(rewritten(text), text);
    EXPECT_TRUE(sceneOf(text)["n"].isTypeOf("object"));
    EXPECT_TRUE(sceneOf(text)["n"]->isAbstract());
    EXPECT_TRUE(sceneOf(text)["n"]->isInternal());
}

// ---- References to nodes outside the scene -----------------------------------------------------

TEST_F(SceneWriterOfANode, ALinkToAnotherScenesNode_IsWrittenAsNone) {
    const auto other = sceneOf("node t \"far\" {\n    output Real o\n}\n");
    m_node->createInput("x", AttrType::Node)->setNode(other["far"].get());
    m_node->createInput("y", AttrType::Real)->connect(other["far"].output("o").get());
    expectLines("Node x = null\nReal y = 0");
}

// The annotation is for readers who know the type.
TEST(SceneWriterOwn, NoteOfAnUnknownType_IsKept) {
    const char* const text = "kelvo scene 1\n\nnode light \"lamp\" @own {\n"
                             "    Real intensity = 2 @own\n    Object o {\n    } @own\n}\n";
    const auto scene = kelvo_sdk::Scene::create();
    ASSERT_TRUE(scene.read(text, "a.kns"));
    EXPECT_STREQ(scene.text().buf(), text);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
