#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_rename.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

struct Recorder : SceneObserver {
    void inputChanged(const IInput* input, const AttrData*) override { note("changed", input); }
    void inputConnected(const IInput* input, const IOutput*, const IOutput*) override {
        note("connected", input);
    }
    void note(const char* what, const IInput* input) {
        heard += std::string(what) + " " + std::string(input->name().view()) + ";";
    }
    std::string take() { return std::exchange(heard, {}); }

    std::string heard;
};

class InputHistory : public testing::Test {
protected:
    InputHistory() {
        m_scene->setUndoEnabled(true);
        m_steps = m_scene->undoCount();
        m_scene->subscribe(&m_recorder);
    }
    ~InputHistory() override { m_scene->unsubscribe(&m_recorder); }

    Input& create(const char* name, AttrType type = AttrType::Real) {
        return static_cast<Input&>(*m_node->createInput(name, type));
    }

    // Call before the swap: what it tells and records is compared from here on.
    void startListening() {
        m_recorder.take();
        m_steps = m_scene->undoCount();
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
    Input& m_a = create("a");
    Input& m_b = create("b");
    Output& m_out = static_cast<Output&>(
        *m_scene->createNode("thing", "source")->createOutput("out", AttrType::Real));
    Recorder m_recorder;
    u64 m_steps = 0;
};

TEST_F(InputHistory, RemovedElement_IsNamedByItsPlace) {
    Input& list = create("list", AttrType::Array);
    list.appendElement();
    list.appendElement();
    ASSERT_TRUE(list.removeInput(u64(1)));
    EXPECT_EQ(m_scene->undoStep(0).doText, "Remove thing.list[1]");
    const u64 step = m_scene->undoCount();
    ASSERT_TRUE(m_node->removeInput("list"));
    EXPECT_EQ(m_scene->undoStep(m_scene->undoCount() - step).doText, "Remove thing.list[1]");
}

TEST_F(InputHistory, RemovedMember_IsNamedWithItsObject) {
    Input& object = create("object", AttrType::Object);
    object.createInput("x", AttrType::Real);
    ASSERT_TRUE(object.removeInput("x"));
    EXPECT_EQ(m_scene->undoStep(0).doText, "Remove thing.object.x");
}

TEST_F(InputHistory, SwappedValue_IsNotifiedButNotRecorded) {
    ValueChange change(m_a);
    ASSERT_TRUE(m_a.setReal(2.5));
    startListening();
    change.swap(*m_scene);
    EXPECT_EQ(m_a.value(), Value(0.0));
    EXPECT_EQ(m_recorder.take(), "changed a;");
    EXPECT_EQ(m_scene->undoCount(), m_steps);
}

TEST_F(InputHistory, SwappedValue_IsKeptForTheNextSwap) {
    ValueChange change(m_a);
    ASSERT_TRUE(m_a.setReal(2.5));
    change.swap(*m_scene);
    change.swap(*m_scene);
    EXPECT_EQ(m_a.value(), Value(2.5));
}

TEST_F(InputHistory, SwappedValue_IsWrittenIntoReadOnlyInput) {
    ValueChange change(m_a);
    ASSERT_TRUE(m_a.setReal(1.5));
    m_a.setReadOnly(true);
    change.swap(*m_scene);
    EXPECT_EQ(m_a.value(), Value(0.0));
}

TEST_F(InputHistory, SwappedSource_IsConnectedAtItsRank) {
    startListening();
    SourceChange(m_a, m_out, 0).swap(*m_scene);
    SourceChange(m_b, m_out, 0).swap(*m_scene);
    EXPECT_EQ(m_b.sourceRank(), 0u);
    EXPECT_EQ(m_a.sourceRank(), 1u);
    EXPECT_EQ(m_recorder.take(), "connected a;connected b;");
    EXPECT_EQ(m_scene->undoCount(), m_steps);
}

TEST_F(InputHistory, SwappedSource_WithNone_Disconnects) {
    SourceChange change(m_a);
    ASSERT_TRUE(m_a.connect(&m_out));
    change.swap(*m_scene);
    EXPECT_EQ(m_a.source(), nullptr);
    EXPECT_EQ(m_a.sourceRank(), noIndex);
    EXPECT_EQ(m_out.targetCount(), 0u);
}

TEST_F(InputHistory, SwappedAddition_TakesNodeAndParentFromAllPartsOfTheInput) {
    auto& object = create("object", AttrType::Object);
    auto& member = static_cast<Input&>(*object.createInput("member", AttrType::Int));
    InputListChange change(object, nullptr, m_node->inputCount() - 1, true);
    change.swap(*m_scene);
    EXPECT_EQ(object.node(), nullptr);
    EXPECT_EQ(member.node(), nullptr);
    EXPECT_EQ(member.parent(), &object);
    change.swap(*m_scene);
    EXPECT_EQ(member.node(), m_node);
    EXPECT_EQ(m_node->inputs().back(), &object);
}

TEST_F(InputHistory, SwappedAdditionOfAMember_TakesItsParent) {
    auto& object = create("object", AttrType::Object);
    auto& member = static_cast<Input&>(*object.createInput("member", AttrType::Int));
    InputListChange change(member, &object, 0, true);
    change.swap(*m_scene);
    EXPECT_EQ(member.parent(), nullptr);
    change.swap(*m_scene);
    EXPECT_EQ(member.parent(), &object);
}

TEST_F(InputHistory, SwappedMoveOfAnElement_IsNotifiedOnce) {
    auto& array = static_cast<Input&>(*m_node->createArray("list", AttrType::Int));
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(array.appendElement()->setInt(i));
    m_recorder.take();
    ElementMove(array, 2, 0).swap(*m_scene);
    EXPECT_EQ(static_cast<Input*>(array.input(2))->value(), Value(0));
    EXPECT_EQ(m_recorder.take(), "changed list;");
}

TEST_F(InputHistory, MoveToTheSamePlace_IsNoChange) {
    auto& array = static_cast<Input&>(*m_node->createArray("list", AttrType::Int));
    for (int i = 0; i < 2; ++i)
        array.appendElement();
    startListening();
    EXPECT_TRUE(array.moveElement(1, 1));
    EXPECT_EQ(m_recorder.take(), "");
    EXPECT_EQ(m_scene->undoCount(), m_steps);
}

TEST_F(InputHistory, SwappedLinkAndKeptValue_ThatWereNever_TakeNoMemory) {
    auto& link = create("link", AttrType::Node);
    const u64 bytes = link.ownBytes();
    ValueChange(link).swap(*m_scene);
    StashChange(link).swap(*m_scene);
    EXPECT_EQ(link.ownBytes(), bytes);
}

TEST_F(InputHistory, SwappedSource_ThatIsThereAlready_IsNotNotified) {
    ASSERT_TRUE(m_a.connect(&m_out));
    SourceChange change(m_a);
    startListening();
    change.swap(*m_scene);
    EXPECT_EQ(m_a.source(), &m_out);
    EXPECT_EQ(m_recorder.take(), "");
}

TEST_F(InputHistory, SwappedRemoval_OfAnInputThatIsThere_LeavesItThereOnceBothWays) {
    const u64 count = m_node->inputCount();
    InputListChange change(m_a, nullptr, 0, false);
    for (int i = 0; i < 2; ++i) {
        change.swap(*m_scene);
        EXPECT_EQ(m_node->inputCount(), count);
        EXPECT_EQ(m_a.node(), m_node);
    }
}

TEST_F(InputHistory, RemovedObject_ComesBackWithTheTiesOfItsInnermostParts) {
    auto& object = create("object", AttrType::Object);
    IInput* inner = object.createInput("inner", AttrType::Object);
    auto& read = static_cast<Input&>(*inner->createInput("read", AttrType::Real));
    auto& link = static_cast<Input&>(*inner->createInput("link", AttrType::Node));
    ASSERT_TRUE(read.connect(&m_out));
    ASSERT_TRUE(link.setNode(m_out.node()));
    ASSERT_TRUE(m_node->removeInput("object"));
    ASSERT_TRUE(m_scene->undo());
    EXPECT_EQ(read.source(), &m_out);
    EXPECT_EQ(link.value().asNode(), m_out.node());
}

TEST_F(InputHistory, RemovedInputThatKeepsANumber_IsRecordedWithoutAnExtraRecordOfIt) {
    const auto bytesBesideTheInput = [this](const Input& input) {
        const u64 own = input.ownBytes();
        EXPECT_TRUE(m_node->removeInput(input.name()));
        return m_scene->undoStep(0).bytes - own;
    };
    m_b.stash();
    EXPECT_EQ(bytesBesideTheInput(m_a), bytesBesideTheInput(m_b));
}

TEST_F(InputHistory, RecordOfARenaming_TakesMemoryForBothNamesAndTheUnreadLines) {
    const auto bytes = [this](const char* before, const char* after, std::vector<u64> lines = {}) {
        return InputRename(create(before), {after, {}, {}, std::move(lines)}).bytes();
    };
    EXPECT_EQ(bytes("size", "extent"), bytes("size", "x") + 5);
    EXPECT_EQ(bytes("stand", "x"), bytes("size", "x") + 1);
    EXPECT_EQ(bytes("size", "x", {1, 2}), bytes("size", "x") + 2 * sizeof(u64));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
