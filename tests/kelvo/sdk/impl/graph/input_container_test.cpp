#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string_view>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class InputContainer : public testing::Test {
protected:
    IInput& array(AttrType elementType) { return *m_node->createArray("arr", elementType); }
    IInput& object() { return *m_node->createInput("obj", AttrType::Object); }
    static String values(const IInput& array) {
        String all;
        for (u64 i = 0; i < array.inputCount(); ++i) {
            String text;
            array.input(i)->readString(text, false, nullptr);
            all = all + array.input(i)->name() + "=" + text + " ";
        }
        return all;
    }
    static void fill(IInput& array, i64 count) {
        for (i64 i = 0; i < count; ++i)
            array.appendElement()->setInt(10 + i);
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
};

TEST_F(InputContainer, Append_AddsExactlyOneElementOfTheElementKind) {
    IInput& arr = array(AttrType::Int);
    IInput* element = arr.appendElement();
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->type(), AttrType::Int);
    EXPECT_EQ(element->parent(), &arr);
    EXPECT_EQ(element->node(), m_node);
    EXPECT_EQ(arr.inputCount(), 1u);
    EXPECT_STREQ(arr.typeName().buf(), "Array<Int>");
}

TEST_F(InputContainer, Append_OnOtherKinds_ReturnsNull) {
    EXPECT_EQ(m_node->createInput("x", AttrType::Int)->appendElement(), nullptr);
    EXPECT_EQ(object().appendElement(), nullptr);
}

TEST_F(InputContainer, Insert_NamesTheElementsAnew) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 3);
    arr.insertElement(1)->setInt(99);
    EXPECT_STREQ(values(arr).buf(), "0=10 1=99 2=11 3=12 ");
    EXPECT_EQ(arr.insertElement(5), nullptr);
    EXPECT_NE(arr.insertElement(4), nullptr);
}

TEST_F(InputContainer, PlaceInList_IsThatAmongElementsMembersAndInputs) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 3);
    EXPECT_EQ(static_cast<Input*>(arr.input(u64(2)))->placeInList(), 2u);
    IInput* object = m_node->createInput("object", AttrType::Object);
    object->createInput("a", AttrType::Int);
    EXPECT_EQ(static_cast<Input*>(object->createInput("b", AttrType::Int))->placeInList(), 1u);
    EXPECT_EQ(static_cast<Input*>(object)->placeInList(), 1u);
}

TEST_F(InputContainer, Remove_ClosesTheGap) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 3);
    EXPECT_TRUE(arr.removeInput(u64(1)));
    EXPECT_STREQ(values(arr).buf(), "0=10 1=12 ");
    EXPECT_TRUE(arr.removeInput(String("0")));
    EXPECT_TRUE(arr.removeLastInput());
    EXPECT_FALSE(arr.removeLastInput());
}

struct Move {
    u64 from, to;
    bool done;
    const char* expected;
};
class InputContainerMove : public InputContainer, public testing::WithParamInterface<Move> {};

TEST_P(InputContainerMove, Result) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 4);
    EXPECT_EQ(arr.moveElement(GetParam().from, GetParam().to), GetParam().done);
    EXPECT_STREQ(values(arr).buf(), GetParam().expected);
}

const Move kMoves[] = {
    {0, 3, true, "0=11 1=12 2=13 3=10 "},  {3, 0, true, "0=13 1=10 2=11 3=12 "},
    {1, 2, true, "0=10 1=12 2=11 3=13 "},  {2, 2, true, "0=10 1=11 2=12 3=13 "},
    {4, 0, false, "0=10 1=11 2=12 3=13 "}, {0, 4, false, "0=10 1=11 2=12 3=13 "},
};
INSTANTIATE_TEST_SUITE_P(Table, InputContainerMove, testing::ValuesIn(kMoves));

TEST_F(InputContainer, HasInput_ByIndex_EndsAtTheCount) {
    IInput& arr = array(AttrType::Int);
    arr.appendElement();
    arr.appendElement();
    EXPECT_TRUE(arr.hasInput(u64(1), AttrType::Null));
    EXPECT_FALSE(arr.hasInput(u64(2), AttrType::Null));
    EXPECT_TRUE(arr.hasInput(u64(1), AttrType::Int));
    EXPECT_FALSE(arr.hasInput(u64(1), AttrType::Real));
}

TEST_F(InputContainer, Element_IsFoundByItsDecimalIndexAlone) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 11);
    EXPECT_EQ(arr.input(String("10")), arr.input(u64(10)));
    EXPECT_TRUE(arr.hasInput(String("0"), AttrType::Int));
    EXPECT_FALSE(arr.hasInput(String("00"), AttrType::Null));
    EXPECT_FALSE(arr.hasInput(String("+1"), AttrType::Null));
    EXPECT_FALSE(arr.hasInput(String("11"), AttrType::Null));
    EXPECT_FALSE(arr.hasInput(String("99999999999999999999999"), AttrType::Null));
}

TEST_F(InputContainer, NameInFrontOfMoreDigits_EndsWhereItsTextEnds) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 11);
    const NameView name(std::string_view("10").substr(0, 1));
    EXPECT_EQ(static_cast<Input&>(arr).lookUpInput(name), arr.input(u64(1)));
}

TEST_F(InputContainer, IndexOutOfRange_ReturnsNullAndLogs) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 2);
    const LogCapture log;
    EXPECT_EQ(arr.input(u64(5)), nullptr);
    EXPECT_EQ(log.text(), "error: Input index 5 out of range (2) for input 'thing.arr'.\n");
}

TEST_F(InputContainer, MissingName_ReturnsNullAndLogs) {
    IInput& obj = object();
    const LogCapture log;
    EXPECT_EQ(obj.input(String("size")), nullptr);
    EXPECT_EQ(log.text(), "error: Input 'size' not found in input 'thing.obj'.\n");
}

TEST_F(InputContainer, Object_KeepsItsMembersByName) {
    IInput& obj = object();
    IInput* size = obj.createInput("size", AttrType::Real);
    EXPECT_EQ(obj.createInput("SIZE", AttrType::Real), size);
    EXPECT_EQ(obj.inputCount(), 1u);
    EXPECT_EQ(obj.input(String("Size")), size);
    EXPECT_TRUE(obj.isObject());
    EXPECT_STREQ(size->path().buf(), "thing.obj.size");
    EXPECT_TRUE(obj.removeInput(String("size")));
    EXPECT_EQ(obj.inputCount(), 0u);
}

// Removes an input of the node by name during the notification of another.
struct Remover : SceneObserver {
    void inputAdded(const IInput* input) override {
        if (input->parent()) input->node()->removeInput(name);
    }
    String name;
};

TEST_F(InputContainer, ArrayRemovedWhileItsElementIsReported_GivesNone) {
    const RefersTo<IInput> arr(&array(AttrType::Int));
    Remover remover;
    remover.name = "arr";
    m_scene->subscribe(&remover);
    EXPECT_EQ(arr->appendElement(), nullptr);
    m_scene->unsubscribe(&remover);
    EXPECT_EQ(arr->node(), nullptr);
}

TEST_F(InputContainer, Object_ThatIsSilent_HasSilentMembersOnly) {
    AttrData data(AttrType::Object);
    data.silent = true;
    IInput* silent = m_node->createInput("silent", std::move(data));
    EXPECT_TRUE(silent->createInput("m", AttrType::Int)->isSilent());
    AttrData member(AttrType::Int);
    member.silent = true;
    auto& obj = static_cast<Input&>(object());
    EXPECT_TRUE(obj.createInput("quiet", std::move(member))->isSilent());
    EXPECT_FALSE(obj.createInput("loud", AttrType::Int)->isSilent());
}

TEST_F(InputContainer, Object_ArrayOfTheSameElements_IsGivenAgainAndOfOthersWarnedOf) {
    IInput& obj = object();
    IInput* numbers = obj.createArray("numbers", AttrType::Int);
    const LogCapture log;
    EXPECT_EQ(obj.createArray("numbers", AttrType::Int), numbers);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(obj.createArray("numbers", AttrType::Real), numbers);
    EXPECT_TRUE(numbers->hasElementType(AttrType::Int));
    EXPECT_NE(log.text(), "");
}

TEST_F(InputContainer, Object_MemberOfAnotherKind_IsKeptAndWarnedOf) {
    IInput& obj = object();
    IInput* size = obj.createInput("size", AttrType::Real);
    const LogCapture log;
    EXPECT_EQ(obj.createInput("size", AttrType::Int), size);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Real input thing.obj.size as Int.\n");
}

TEST_F(InputContainer, Object_IllegalMemberName_ReturnsNullAndLogs) {
    const LogCapture log;
    EXPECT_EQ(object().createInput("a b", AttrType::Real), nullptr);
    EXPECT_EQ(log.text(),
              "error: Cannot create illegally-named member 'a b' in input 'thing.obj'.\n");
}

TEST_F(InputContainer, PlainInput_HoldsNoInputs) {
    const LogCapture log;
    EXPECT_EQ(m_node->createInput("x", AttrType::Int)->createInput("y", AttrType::Int), nullptr);
    EXPECT_EQ(log.text(),
              "error: Cannot create input 'y' in input 'thing.x' (Int): it holds no inputs.\n");
}

TEST_F(InputContainer, Path_NamesEveryStep) {
    IInput& arr = array(AttrType::Object);
    arr.appendElement();
    IInput* member = arr.appendElement()->createArray("weights", AttrType::Real)->appendElement();
    EXPECT_STREQ(member->path().buf(), "thing.arr[1].weights[0]");
    EXPECT_STREQ(member->name().buf(), "0");
}

TEST_F(InputContainer, ArrayOfArrays_LearnsTheElementKindOfEach) {
    IInput& arr = array(AttrType::Array);
    IInput* inner = arr.createArray("0", AttrType::Int);
    ASSERT_NE(inner, nullptr);
    EXPECT_TRUE(inner->hasElementType(AttrType::Int));
    EXPECT_EQ(arr.createArray("0", AttrType::Int), inner);
    const LogCapture log;
    EXPECT_EQ(arr.createArray("2", AttrType::Int), nullptr);
    EXPECT_EQ(arr.createInput("1", AttrType::Int), nullptr);
    EXPECT_EQ(log.text(), "error: Cannot create Array element '2' in input 'thing.arr' "
                          "(Array<Array>, 1 elements).\n"
                          "error: Cannot create Int element '1' in input 'thing.arr' "
                          "(Array<Array>, 1 elements).\n");
}

TEST_F(InputContainer, LongObject_FindsEveryMemberAndTheFirstOfAName) {
    IInput& obj = object();
    for (int i = 0; i < 200; ++i)
        obj.createInput(String::format("m%d", i), AttrType::Int);
    for (int i = 0; i < 200; ++i)
        ASSERT_STREQ(obj.input(String::format("M%d", i))->name().buf(),
                     String::format("m%d", i).buf());
    EXPECT_TRUE(obj.removeInput(String("m0")));
    EXPECT_FALSE(obj.hasInput(String("m0"), AttrType::Null));
    EXPECT_TRUE(obj.hasInput(String("m199"), AttrType::Null));
    obj.createInput("m0", AttrType::Int);
    EXPECT_EQ(obj.input(String("m0")), obj.input(u64(199)));
}

TEST_F(InputContainer, HasElementType_NullMatchesAnyArray) {
    IInput& arr = array(AttrType::Node);
    EXPECT_TRUE(arr.hasElementType(AttrType::Null));
    EXPECT_TRUE(arr.hasElementType(AttrType::Node));
    EXPECT_FALSE(arr.hasElementType(AttrType::Int));
    EXPECT_FALSE(object().hasElementType(AttrType::Null));
}

TEST_F(InputContainer, RemovedElement_LivesOnWithoutNode) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 1);
    const RefersTo<IInput> held(arr.input(u64(0)));
    arr.clearInputs();
    EXPECT_EQ(held->node(), nullptr);
    EXPECT_EQ(held->parent(), nullptr);
    EXPECT_TRUE(held->setInt(5));
}

TEST_F(InputContainer, ElementHeldBeyondItsArray_HasNoParent) {
    fill(array(AttrType::Int), 1);
    const RefersTo<IInput> held(m_node->input(String("arr"))->input(u64(0)));
    m_node->removeInput(String("arr"));
    EXPECT_EQ(held->node(), nullptr);
    EXPECT_EQ(held->parent(), nullptr);
    EXPECT_TRUE(held->setInt(5));
}

TEST_F(InputContainer, ObjectHeldBeyondTheOneAroundIt_KeepsItsMembers) {
    IInput* inner = object().createInput("inner", AttrType::Object);
    const RefersTo<IInput> held(inner);
    inner->createInput("size", AttrType::Int)->setInt(7);
    m_node->removeInput(String("obj"));
    ASSERT_EQ(held->inputCount(), 1u);
    EXPECT_STREQ(held->input(u64(0))->path().buf(), "inner.size");
}

TEST_F(InputContainer, SilentMember_IsMadeWithoutANodeToo) {
    const auto free = RefersTo<Input>::adopt(
        new Input(nullptr, nullptr, "free", AttrType::Object, AttrType::Null));
    AttrData data(AttrType::Int);
    data.silent = true;
    ASSERT_NE(free->createInput("quiet", std::move(data)), nullptr);
    EXPECT_EQ(free->inputCount(), 1u);
}

TEST_F(InputContainer, ElementHeldBeyondACopyOfItsArray_HasNoNode) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 1);
    auto copy = RefersTo<IInput>::adopt(static_cast<Input&>(arr).clone(m_node, nullptr));
    const RefersTo<IInput> held(copy->input(u64(0)));
    ASSERT_EQ(held->node(), m_node);
    copy.reset();
    EXPECT_EQ(held->node(), nullptr);
    EXPECT_EQ(held->parent(), nullptr);
}

TEST_F(InputContainer, ElementThatIsLeavingALongArray_HasTheNameOfItsPlace) {
    struct Namer : SceneObserver {
        void inputRemoved(const IInput* input) override { name = input->name(); }
        String name;
    } namer;
    IInput& arr = array(AttrType::Int);
    fill(arr, 100);
    arr.insertElement(0);
    m_scene->subscribe(&namer);
    EXPECT_TRUE(arr.removeInput(u64(90)));
    m_scene->unsubscribe(&namer);
    EXPECT_EQ(namer.name, "90");
}

TEST_F(InputContainer, MembersOfADeadNode_LetTheirValuesGo) {
    const String text("shared by all");
    array(AttrType::String).appendElement()->setString(text);
    object().createInput("label", AttrType::String)->setString(text);
    EXPECT_EQ(text.get()->refCount(), 3);
    m_scene->removeNode(m_node);
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST_F(InputContainer, Clone_CopiesMembersAtAnyDepth) {
    IInput& arr = array(AttrType::Object);
    arr.appendElement()->createInput("size", AttrType::Int)->setInt(7);
    const auto copy = RefersTo<IInput>::adopt(static_cast<Input&>(arr).clone(m_node, nullptr));
    i64 size = 0;
    ASSERT_TRUE(copy->input(u64(0))->input(String("size"))->readInt(size, false, nullptr));
    EXPECT_EQ(size, 7);
    EXPECT_EQ(copy->hash({}), arr.hash({}));
}

TEST_F(InputContainer, Clone_TakesAsMuchMemoryAsItsOriginal) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 3);
    const auto& original = static_cast<const Input&>(arr);
    const auto copy = RefersTo<IInput>::adopt(original.clone(m_node, nullptr));
    EXPECT_EQ(static_cast<const Input&>(*copy).ownBytes(), original.ownBytes());
}

TEST_F(InputContainer, HundredThousandElements_ComeAndGoInLinearTime) {
    IInput& arr = array(AttrType::Int);
    fill(arr, 100000);
    EXPECT_STREQ(arr.input(u64(99999))->path().buf(), "thing.arr[99999]");
    EXPECT_TRUE(arr.clearInputs());
    EXPECT_EQ(arr.inputCount(), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
