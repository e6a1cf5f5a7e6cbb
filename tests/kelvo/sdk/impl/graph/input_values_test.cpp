#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class InputValues : public testing::Test {
protected:
    Input& create(AttrType type) {
        return static_cast<Input&>(*m_node->createInput("value", type));
    }
    Input& create(AttrData data) {
        return static_cast<Input&>(*m_node->createInput("value", std::move(data)));
    }
    Input& createBuffer(DataType type) {
        AttrData data(AttrType::Buffer);
        data.dataType = type;
        return create(std::move(data));
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
};

struct KindText {
    AttrType kind;
    const char* zero;
    const char* text;
};

class InputOfEveryKind : public InputValues, public testing::WithParamInterface<KindText> {};

TEST_P(InputOfEveryKind, New_HoldsTheZeroOfItsKind) {
    String text;
    ASSERT_TRUE(create(GetParam().kind).readString(text, false, nullptr));
    EXPECT_STREQ(text.buf(), GetParam().zero);
}

TEST_P(InputOfEveryKind, SetString_ReadsBackAsTheSameText) {
    Input& input = create(GetParam().kind);
    ASSERT_TRUE(input.setString(GetParam().text));
    String text;
    ASSERT_TRUE(input.readString(text, false, nullptr));
    EXPECT_STREQ(text.buf(), GetParam().text);
    EXPECT_FALSE(input.isDefault());
}

TEST_P(InputOfEveryKind, Reset_BringsTheZeroBack) {
    Input& input = create(GetParam().kind);
    ASSERT_TRUE(input.setString(GetParam().text));
    EXPECT_TRUE(input.reset());
    EXPECT_TRUE(input.isDefault());
    EXPECT_EQ(input.value(), Value::zero(GetParam().kind));
}

TEST_P(InputOfEveryKind, Clone_HoldsAnEqualValueAndHash) {
    Input& input = create(GetParam().kind);
    ASSERT_TRUE(input.setString(GetParam().text));
    const auto copy = RefersTo<IInput>::adopt(input.clone(m_node, nullptr));
    EXPECT_EQ(static_cast<Input&>(*copy).value(), input.value());
    EXPECT_EQ(copy->hash({}), input.hash({}));
    EXPECT_NE(copy->hash({}), 0u);
}

const KindText kKinds[] = {
    {AttrType::Bool, "false", "true"},
    {AttrType::Int, "0", "-3"},
    {AttrType::UInt, "0", "7"},
    {AttrType::Real, "0", "0.1"},
    {AttrType::Vec2, "(0 0)", "(1 2)"},
    {AttrType::Vec3, "(0 0 0)", "(1 2 3)"},
    {AttrType::Vec4, "(0 0 0 0)", "(1 2 3 4)"},
    {AttrType::Pos2, "(0 0)", "(1 2)"},
    {AttrType::Pos3, "(0 0 0)", "(1 2 3)"},
    {AttrType::Quat, "(0 0 0 1)", "(1 2 3 4)"},
    {AttrType::Rgba, "(0 0 0 1)", "(0.5 0.25 1 0.5)"},
    {AttrType::Mat3, "(1 0 0  0 1 0  0 0 1)", "(1 2 3  4 5 6  7 8 9)"},
    {AttrType::Mat4, "(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)",
     "(1 0 0 0  0 1 0 0  0 0 1 0  0 2.5 0 1)"},
    {AttrType::String, "", " a \"quoted\" text\n"},
};
INSTANTIATE_TEST_SUITE_P(Kinds, InputOfEveryKind, testing::ValuesIn(kKinds));

TEST_F(InputValues, TypedSetAndGet_OfEachKind_KeepTheValue) {
    const auto keeps = [this](AttrType kind, auto value, auto set, auto read) {
        Input& input = create(kind);
        decltype(value) out{};
        const bool done = (input.*set)(value) && (input.*read)(out, false, nullptr);
        m_node->clearInputs();
        return done && out == value;
    };
    EXPECT_TRUE(keeps(AttrType::Bool, true, &Input::setBool, &Input::readBool));
    EXPECT_TRUE(keeps(AttrType::Int, i64(-5), &Input::setInt, &Input::readInt));
    EXPECT_TRUE(keeps(AttrType::UInt, u64(5), &Input::setUInt, &Input::readUInt));
    EXPECT_TRUE(keeps(AttrType::Real, 0.25, &Input::setReal, &Input::readReal));
    EXPECT_TRUE(keeps(AttrType::Vec2, math::Vec2d{1, 2}, &Input::setVec2, &Input::readVec2));
    EXPECT_TRUE(keeps(AttrType::Vec3, math::Vec3d{1, 2, 3}, &Input::setVec3, &Input::readVec3));
    EXPECT_TRUE(keeps(AttrType::Vec4, math::Vec4d{1, 2, 3, 4}, &Input::setVec4, &Input::readVec4));
    EXPECT_TRUE(keeps(AttrType::Pos2, math::Pos2d{1, 2}, &Input::setPos2, &Input::readPos2));
    EXPECT_TRUE(keeps(AttrType::Pos3, math::Pos3d{1, 2, 3}, &Input::setPos3, &Input::readPos3));
    EXPECT_TRUE(keeps(AttrType::Quat, math::Quatd{1, 2, 3, 4}, &Input::setQuat, &Input::readQuat));
    EXPECT_TRUE(keeps(AttrType::Rgba, math::Rgbad{1, 2, 3, 4}, &Input::setRgba, &Input::readRgba));
}

TEST_F(InputValues, Set_ThatDoesNotConvert_AnswersFalseAndChangesNothing) {
    Input& input = create(AttrType::Int);
    ASSERT_TRUE(input.setInt(4));
    EXPECT_FALSE(input.setReal(2.5));
    EXPECT_FALSE(input.setString("four"));
    EXPECT_FALSE(input.setVec3(math::Vec3d{1, 2, 3}));
    EXPECT_FALSE(input.setNode(m_node));
    EXPECT_FALSE(input.setBuffer({DataType::Int64, "12345678", 1}));
    EXPECT_EQ(input.value().asInt(), 4);
}

TEST_F(InputValues, Set_ThatConverts_StoresTheKindOfTheInput) {
    Input& input = create(AttrType::Real);
    EXPECT_TRUE(input.setInt(3));
    EXPECT_EQ(input.value().type(), AttrType::Real);
    EXPECT_TRUE(input.setString("0.5"));
    i64 whole = 9;
    EXPECT_FALSE(input.readInt(whole, false, nullptr));
    EXPECT_EQ(whole, 9);
}

TEST_F(InputValues, NullKind_TakesNothing) {
    Input& input = create(AttrType::Null);
    EXPECT_FALSE(input.setInt(1));
    EXPECT_FALSE(input.setString("1"));
    EXPECT_FALSE(input.reset());
    String text("kept");
    EXPECT_FALSE(input.readString(text, false, nullptr));
    EXPECT_STREQ(text.buf(), "kept");
}

TEST_F(InputValues, EqualValue_IsNoChange) {
    Input& input = create(AttrType::Real);
    ASSERT_TRUE(input.setReal(std::numeric_limits<double>::quiet_NaN()));
    m_node->setDirty(false);
    EXPECT_TRUE(input.setReal(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(m_node->dirty(false));
}

// Keeps the record of the last change.
struct RecordKeeper : SceneObserver {
    explicit RecordKeeper(Scene& heard) : scene(heard) { scene.subscribe(this); }
    ~RecordKeeper() override { scene.unsubscribe(this); }
    void inputChanged(const IInput*, const AttrData* previous) override { record = *previous; }
    Scene& scene;
    AttrData record;
};

TEST_F(InputValues, Change_IsReportedWithTheInputsKindAndFlags) {
    AttrData data(AttrType::Buffer);
    data.dataType = DataType::Float;
    data.silent = true;
    Input& input = create(std::move(data));
    const RecordKeeper keeper(*m_scene);
    const float numbers[] = {1};
    ASSERT_TRUE(input.setBuffer({DataType::Float, numbers, 1}));
    EXPECT_EQ(keeper.record.type, AttrType::Buffer);
    EXPECT_EQ(keeper.record.dataType, DataType::Float);
    EXPECT_TRUE(keeper.record.silent);
    EXPECT_FALSE(keeper.record.readOnly);
    EXPECT_EQ(keeper.record.value.asBuffer().count(), 0u);
}

TEST_F(InputValues, MoveOfAnElement_IsReportedWithTheElementKind) {
    IInput* array = m_node->createArray("array", AttrType::Int);
    array->appendElement();
    array->appendElement();
    const RecordKeeper keeper(*m_scene);
    ASSERT_TRUE(array->moveElement(0, 1));
    EXPECT_EQ(keeper.record.type, AttrType::Array);
    EXPECT_EQ(keeper.record.elementType, AttrType::Int);
}

TEST_F(InputValues, ReadOnlyLinkThatIsCleared_IsReportedAsReadOnly) {
    INode* target = m_scene->createNode("thing", "target");
    AttrData data = AttrData::withDefault(Value(target));
    data.readOnly = true;
    create(std::move(data));
    const RecordKeeper keeper(*m_scene);
    m_scene->removeNode(target);
    EXPECT_EQ(keeper.record.type, AttrType::Node);
    EXPECT_TRUE(keeper.record.readOnly);
}

TEST_F(InputValues, NegativeZero_IsAChangeFromZero) {
    Input& input = create(AttrType::Real);
    m_node->setDirty(false);
    EXPECT_TRUE(input.setReal(-0.0));
    EXPECT_TRUE(m_node->dirty(false));
    EXPECT_TRUE(std::signbit(input.value().asReal()));
}

TEST_F(InputValues, NodeKind_SetString_LooksTheNameUp) {
    Input& input = create(AttrType::Node);
    INode* other = m_scene->createNode("thing", "other");
    EXPECT_TRUE(input.setString("OTHER"));
    INode* linked = nullptr;
    EXPECT_TRUE(input.readNode(linked, false, nullptr));
    EXPECT_EQ(linked, other);
    EXPECT_FALSE(input.setString("nobody"));
    EXPECT_EQ(input.value().asNode(), other);
    EXPECT_TRUE(input.setString(""));
    EXPECT_EQ(input.value().asNode(), nullptr);
}

TEST_F(InputValues, Buffer_CopiesWhatIsSet) {
    Input& input = createBuffer(DataType::Int32);
    std::int32_t numbers[] = {1, 2, 3};
    ASSERT_TRUE(input.setBuffer({DataType::Int32, numbers, 3}));
    numbers[0] = 9;
    BufferView view;
    ASSERT_TRUE(input.readBuffer(view, false, nullptr));
    EXPECT_EQ(view.count, 3u);
    EXPECT_EQ(static_cast<const std::int32_t*>(view.data)[0], 1);
}

TEST_F(InputValues, Buffer_WithoutDataOrKind_IsRefusedUnlessItIsEmpty) {
    Input& input = createBuffer(DataType::Null);
    const float numbers[] = {1};
    EXPECT_FALSE(input.setBuffer({DataType::Float, nullptr, 1}));
    EXPECT_FALSE(input.setBuffer({DataType::Null, numbers, 1}));
    EXPECT_TRUE(input.setBuffer({DataType::Float, numbers, 1}));
    EXPECT_TRUE(input.setBuffer({DataType::Float, nullptr, 0}));
    EXPECT_EQ(input.value().asBuffer().count(), 0u);
}

TEST_F(InputValues, Buffer_SetToAnotherKind_IsRefused) {
    Input& input = create(AttrType::Int);
    const i64 numbers[] = {7};
    EXPECT_FALSE(input.setBuffer({DataType::Int64, numbers, 1}));
    EXPECT_EQ(input.value(), Value(0));
}

TEST_F(InputValues, ConnectedOrKeptAside_IsNoDefault) {
    Input& input = create(AttrType::Real);
    EXPECT_TRUE(input.isDefault());
    INode* other = m_scene->createNode("thing", "other");
    input.connect(other->createOutput("out", AttrType::Real));
    EXPECT_FALSE(input.isDefault());
    input.disconnect();
    EXPECT_TRUE(input.isDefault());
    input.stash();
    EXPECT_FALSE(input.isDefault());
}

TEST_F(InputValues, Array_IsDefaultAndResetWhenEmpty) {
    auto& array = static_cast<Input&>(*m_node->createArray("array", AttrType::Int));
    EXPECT_TRUE(array.isDefault());
    array.appendElement();
    EXPECT_FALSE(array.isDefault());
    EXPECT_TRUE(array.reset());
    EXPECT_EQ(array.inputCount(), 0u);
}

TEST_F(InputValues, Object_IsDefaultWhenAllItsMembersAre) {
    Input& object = create(AttrType::Object);
    IInput* a = object.createInput("a", AttrType::Int);
    IInput* b = object.createInput("b", AttrType::Int);
    EXPECT_TRUE(object.isDefault());
    b->setInt(3);
    EXPECT_FALSE(object.isDefault());
    a->setInt(3);
    EXPECT_TRUE(object.reset());
    EXPECT_TRUE(a->isDefault() && b->isDefault());
}

TEST_F(InputValues, Object_WithAReadOnlyMember_IsNotReset) {
    Input& object = create(AttrType::Object);
    AttrData data = AttrData::withDefault(i64(4));
    data.value = Value(i64(5));
    data.readOnly = true;
    IInput* fixed = object.createInput("fixed", std::move(data));
    IInput* free = object.createInput("free", AttrType::Int);
    free->setInt(3);
    const LogCapture log;
    EXPECT_FALSE(object.reset());
    EXPECT_EQ(static_cast<Input*>(fixed)->value(), Value(5));
    EXPECT_TRUE(free->isDefault());
}

TEST_F(InputValues, ArraysAndObjects_KeepNothingAside) {
    auto& array = static_cast<Input&>(*m_node->createArray("array", AttrType::Int));
    Input& object = create(AttrType::Object);
    array.stash();
    object.stash();
    EXPECT_EQ(array.stashed(), nullptr);
    EXPECT_EQ(object.stashed(), nullptr);
}

TEST_F(InputValues, Buffer_OfAnotherElementType_IsRefused) {
    Input& input = createBuffer(DataType::Int32);
    const float numbers[] = {1, 2};
    EXPECT_FALSE(input.setBuffer({DataType::Float, numbers, 2}));
    EXPECT_TRUE(input.hasDataType(DataType::Int32));
    EXPECT_FALSE(input.hasDataType(DataType::Null));
}

TEST_F(InputValues, Buffer_Undeclared_TakesAnyElementType) {
    Input& input = create(AttrType::Buffer);
    EXPECT_TRUE(input.hasDataType(DataType::Null));
    const float numbers[] = {1, 2};
    EXPECT_TRUE(input.setBuffer({DataType::Float, numbers, 2}));
    EXPECT_TRUE(input.hasDataType(DataType::Float));
    EXPECT_STREQ(input.typeName().buf(), "Buffer<Float>");
}

TEST_F(InputValues, Description_GivesDefaultAndReset) {
    Input& input = create(AttrData::withDefault(0.5));
    EXPECT_EQ(input.value().asReal(), 0.5);
    EXPECT_TRUE(input.isDefault());
    EXPECT_TRUE(input.setReal(2));
    EXPECT_FALSE(input.isDefault());
    EXPECT_TRUE(input.reset());
    EXPECT_EQ(input.value().asReal(), 0.5);
}

TEST_F(InputValues, Bounds_RefuseAndWarn) {
    AttrData data = AttrData::withDefault(0.5);
    data.describe().minimum = 0.0;
    data.describe().maximum = 1.0;
    Input& input = create(std::move(data));
    const LogCapture log;
    EXPECT_FALSE(input.setReal(1.5));
    EXPECT_EQ(input.value().asReal(), 0.5);
    EXPECT_EQ(log.text(),
              "warning: Cannot set input 'thing.value' to '1.5': the value is above the "
              "maximum 1 (the range is 0 to 1).\n");
    EXPECT_TRUE(input.setReal(1.0));
}

TEST_F(InputValues, Choices_RefuseOthers) {
    AttrData data = AttrData::withDefault(String("red"));
    data.describe().choices = {Value("red"), Value("green")};
    Input& input = create(std::move(data));
    const LogCapture log;
    EXPECT_TRUE(input.setString("green"));
    EXPECT_FALSE(input.setString("blue"));
    EXPECT_STREQ(input.value().asString().buf(), "green");
}

TEST_F(InputValues, ReadOnly_RefusesAndWarns) {
    AttrData data = AttrData::withDefault(i64(4));
    data.readOnly = true;
    Input& input = create(std::move(data));
    const LogCapture log;
    EXPECT_TRUE(input.isReadOnly());
    EXPECT_FALSE(input.setInt(5));
    EXPECT_EQ(input.value().asInt(), 4);
    EXPECT_EQ(log.text(), "warning: Cannot set input 'thing.value': it is read-only.\n");
}

TEST_F(InputValues, LabelsHelpsAndUnit_ComeFromTheDescription) {
    AttrData data = AttrData::withDefault(0.5);
    data.describe().unit = "m";
    data.describe().labels = {{"en", "outer radius"}, {"de", "Außenradius"}};
    data.describe().helps = {{"en", "How wide."}};
    Input& input = create(std::move(data));
    EXPECT_STREQ(input.unit().buf(), "m");
    EXPECT_STREQ(input.label("en").buf(), "Outer Radius");
    EXPECT_STREQ(input.label("de-AT").buf(), "Außenradius");
    EXPECT_STREQ(input.label("fr").buf(), "Value");
    EXPECT_STREQ(input.help("en").buf(), "How wide.");
    EXPECT_TRUE(input.help("fr").isEmpty());
}

TEST_F(InputValues, Label_WithoutTexts_IsTheNameInTitleCase) {
    EXPECT_STREQ(m_node->createInput("useHDR", AttrType::Bool)->label("en").buf(), "UseHDR");
}

TEST_F(InputValues, Flags_AreClonedWithTheInput) {
    AttrData data = AttrData::withDefault(0.5);
    data.silent = data.readOnly = true;
    data.describe().unit = "m";
    const auto copy = RefersTo<IInput>::adopt(create(std::move(data)).clone(m_node, nullptr));
    EXPECT_TRUE(copy->isSilent());
    EXPECT_TRUE(copy->isReadOnly());
    EXPECT_STREQ(copy->unit().buf(), "m");
}

TEST_F(InputValues, SetBuffer_OnAText_IsRefused) {
    Input& input = create(AttrType::String);
    const float numbers[] = {1, 2};
    EXPECT_FALSE(input.setBuffer({DataType::Float, numbers, 2}));
    EXPECT_EQ(input.value(), Value(String()));
}

TEST_F(InputValues, ResetOfAnObjectWhoseObserverThrows_IsDoneAllTheSame) {
    struct Thrower : SceneObserver {
        void inputChanged(const IInput*, const AttrData*) override {
            throw std::runtime_error("no");
        }
    } thrower;
    Input& object = create(AttrType::Object);
    object.createInput("a", AttrType::Int)->setInt(1);
    object.createInput("b", AttrType::Int)->setInt(2);
    m_scene->subscribe(&thrower);
    EXPECT_THROW(object.reset(), std::runtime_error);
    m_scene->unsubscribe(&thrower);
    EXPECT_TRUE(object.isDefault());
    EXPECT_EQ(static_cast<Input*>(object.input("b"))->value(), Value(0));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
