#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/modified_scene.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::ModifiedScene;

class InputStash : public testing::Test {
protected:
    Input& create(AttrType type) {
        return static_cast<Input&>(*m_node->createInput("value", type));
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
};

TEST_F(InputStash, Stash_KeepsTheFirstValueUntilUnstashed) {
    Input& input = create(AttrType::Int);
    ASSERT_TRUE(input.setInt(1));
    input.stash();
    ASSERT_TRUE(input.setInt(2));
    input.stash();
    ASSERT_TRUE(input.setInt(3));
    EXPECT_EQ(*input.stashed(), Value(1));
    EXPECT_TRUE(input.unstash());
    EXPECT_EQ(input.value(), Value(1));
    EXPECT_EQ(input.stashed(), nullptr);
    EXPECT_FALSE(input.unstash());
}

TEST_F(InputStash, Unstash_RefusedByAReadOnlyInput_KeepsTheValueAside) {
    Input& input = create(AttrType::Int);
    input.stash();
    ASSERT_TRUE(input.setInt(2));
    input.setReadOnly(true);
    const LogCapture log;
    EXPECT_FALSE(input.unstash());
    ASSERT_NE(input.stashed(), nullptr);
    EXPECT_EQ(*input.stashed(), Value(0));
    EXPECT_EQ(input.value(), Value(2));
}

TEST_F(InputStash, Unstash_WhoseObserverThrows_IsDoneAllTheSame) {
    struct Thrower : SceneObserver {
        void inputChanged(const IInput*, const AttrData*) override {
            throw std::runtime_error("no");
        }
    } thrower;
    Input& input = create(AttrType::Int);
    input.stash();
    ASSERT_TRUE(input.setInt(2));
    m_scene->subscribe(&thrower);
    EXPECT_THROW(input.unstash(), std::runtime_error);
    m_scene->unsubscribe(&thrower);
    EXPECT_EQ(input.value(), Value(0));
    EXPECT_EQ(input.stashed(), nullptr);
}

TEST_F(InputStash, Step_IsNamedByTheInput) {
    m_scene->setUndoEnabled(true);
    Input& input = create(AttrType::Int);
    input.stash();
    EXPECT_EQ(m_scene->undoStep(0).doText, "Keep thing.value");
}

TEST_F(InputStash, Stash_IsClonedWithTheInput) {
    Input& input = create(AttrType::Int);
    input.stash();
    ASSERT_TRUE(input.setInt(2));
    const auto copy = RefersTo<IInput>::adopt(input.clone(m_node, nullptr));
    ASSERT_NE(static_cast<Input&>(*copy).stashed(), nullptr);
    EXPECT_EQ(*static_cast<Input&>(*copy).stashed(), Value(0));
}

TEST_F(InputStash, StashedLink_IsThereAgainWhenItsNodeComesBack) {
    const RefersTo<INode> target(m_scene->createNode("thing", "target"));
    Input& link = create(AttrType::Node);
    ASSERT_TRUE(link.setNode(target.get()));
    link.stash();
    ASSERT_TRUE(link.setNode(nullptr));
    m_scene->setUndoEnabled(true);
    m_scene->removeNode(target.get());
    EXPECT_EQ(link.stashed()->asNode(), nullptr);
    EXPECT_TRUE(m_scene->undo());
    EXPECT_EQ(link.stashed()->asNode(), target.get());
}

TEST_F(InputStash, StashedLink_KeptAsideAgainByRedo_IsClearedWithItsNode) {
    const RefersTo<INode> target(m_scene->createNode("thing", "target"));
    m_scene->setUndoEnabled(true);
    Input& link = create(AttrType::Node);
    ASSERT_TRUE(link.setNode(target.get()));
    link.stash();
    ASSERT_TRUE(link.setNode(nullptr));
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(m_scene->undo());
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(m_scene->redo());
    ASSERT_EQ(link.stashed()->asNode(), target.get());
    m_scene->removeNode(target.get());
    EXPECT_EQ(link.stashed()->asNode(), nullptr);
}

TEST_F(InputStash, StashedLink_IsClearedWhenItsSceneEnds) {
    const RefersTo<INode> parent(m_node), target(m_scene->createNode("thing", "target"));
    Input& link = create(AttrType::Node);
    ASSERT_TRUE(link.setNode(target.get()));
    link.stash();
    ASSERT_TRUE(link.setNode(nullptr));
    m_scene.reset();
    ASSERT_NE(link.stashed(), nullptr);
    EXPECT_EQ(link.stashed()->asNode(), nullptr);
}

TEST_F(InputStash, OfAnArray_IsLeftToItsElements) {
    auto& array = static_cast<Input&>(*m_node->createArray("list", AttrType::Real));
    array.appendElement();
    array.stash();
    EXPECT_EQ(array.stashed(), nullptr);
}

TEST_F(InputStash, SetStashed_IsTakenBackByUndo) {
    m_scene->setUndoEnabled(true);
    Input& input = create(AttrType::Int);
    m_scene->beginEdit();
    input.setStashed(Value(7));
    m_scene->recordEdit("stash", "unstash");
    EXPECT_EQ(*input.stashed(), Value(7));
    EXPECT_TRUE(m_scene->undo());
    EXPECT_EQ(input.stashed(), nullptr);
    EXPECT_TRUE(m_scene->redo());
    EXPECT_EQ(*input.stashed(), Value(7));
}

// ---- Modifiers -------------------------------------------------------------------------------

TEST(InputStashModified, Unstash_LeavesTheUsersValueAside) {
    const ModifiedScene scene;
    EXPECT_TRUE(scene.input("n", "a").unstash());
    EXPECT_EQ(scene.valueOf("n"), 5);
    EXPECT_EQ(scene.ownOf("n"), 1);
}

TEST(InputStashModified, WriteThatRunsOutOfMemory_LeavesValuesAndWhatIsKept) {
    const ModifiedScene scene;
    const LogCapture log;
    scene.addCustom("n", [](INode* node) -> bool {
        node->input("a")->setReal(50);
        node->input("b")->setReal(50);
        throw std::bad_alloc();
    });
    EXPECT_EQ(scene.valueOf("n"), 5);
    EXPECT_EQ(scene.ownOf("n"), 1);
    EXPECT_EQ(scene.valueOf("n", "b"), 10);
    EXPECT_EQ(scene.input("n", "b").stashed(), nullptr);
}

TEST(InputStashModified, LinkKeptDuringAWriteThatRunsOutOfMemory_IsClearedWithItsNode) {
    const ModifiedScene scene;
    const auto target = scene.scene.createNode("t", "target");
    scene["n"].createInput("link", AttrType::Node).set(target);
    bool hasMemory = true;
    scene.addCustom(
        "n",
        [&](INode* node) {
            node->input("link")->setNode(nullptr);
            return hasMemory ? true : throw std::bad_alloc();
        },
        "link");
    const LogCapture log;
    hasMemory = false;
    scene["scale"]["factor"].set(4.0);
    hasMemory = true;
    ASSERT_EQ(scene.input("n", "link").ownValue().asNode(), target.get());
    scene.scene.removeNode(target);
    EXPECT_EQ(scene.input("n", "link").ownValue().asNode(), nullptr);
}

TEST(InputStashModified, LinkKeptAside_StaysWhenTheOneThatModifiersSetIsCleared) {
    const ModifiedScene scene;
    const auto shown = scene.scene.createNode("t", "shown");
    scene["n"].createInput("link", AttrType::Node).set(scene["scale"]);
    scene.addCustom(
        "n", [&](INode* node) { return node->input("link")->setNode(shown.get()); }, "link");
    ASSERT_EQ(scene.input("n", "link").value().asNode(), shown.get());
    const LogCapture log;
    scene.scene.removeNode(shown);
    EXPECT_EQ(scene.input("n", "link").ownValue().asNode(), scene.get("scale"));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
