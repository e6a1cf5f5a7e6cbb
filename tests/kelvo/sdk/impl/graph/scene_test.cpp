#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

// Notes the edit operations that it is asked for.
class EditRecorder : public Scene {
public:
    void beginEdit() override { calls += "begin "; }
    void recordEdit(String doText, String undoText) override {
        calls += std::string("record(") + doText.buf() + "|" + undoText.buf() + ") ";
    }
    std::string calls;
};

TEST(SceneObject, New_IsEmptyCleanAndKeepsNoDirtyStates) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    EXPECT_EQ(scene->nodeCount(), 0u);
    EXPECT_FALSE(scene->isDirty());
    EXPECT_FALSE(scene->isDirtyStateCached());
}

TEST(SceneObject, Ended_LeavesNodesThatOthersHoldWithoutAScene) {
    auto scene = RefersTo<Scene>::adopt(new Scene);
    const RefersTo<INode> kept(scene->createNode("thing", "kept"));
    scene.reset();
    EXPECT_EQ(kept->scene(), nullptr);
    EXPECT_STREQ(kept->name().buf(), "kept");
}

TEST(SceneObject, Ended_LinksToItsNodesAreForgotten) {
    auto scene = RefersTo<Scene>::adopt(new Scene);
    const RefersTo<INode> kept(scene->createNode("thing", "kept"));
    IInput* link = kept->createInput("link", AttrType::Node);
    ASSERT_TRUE(link->setNode(scene->createNode("thing", "other")));
    scene.reset();
    INode* linked = kept.get();
    EXPECT_TRUE(link->readNode(linked, false, nullptr));
    EXPECT_EQ(linked, nullptr);
}

TEST(UndoScope, StaysOpenWhileACopyLives) {
    const auto scene = RefersTo<EditRecorder>::adopt(new EditRecorder);
    {
        auto first = std::make_unique<kelvo_sdk::Scene::UndoScope>(kelvo_sdk::Scene(scene.get()),
                                                                   "do", "undo");
        EXPECT_EQ(scene->calls, "begin ");
        const kelvo_sdk::Scene::UndoScope copy(*first);
        first.reset();
        EXPECT_EQ(scene->calls, "begin ");
    }
    EXPECT_EQ(scene->calls, "begin record(do|undo) ");
}

TEST(UndoScope, OfAnEmptyHandle_DoesNothing) {
    const kelvo_sdk::Scene::UndoScope scope(kelvo_sdk::Scene(), "do", "undo");
    EXPECT_TRUE(static_cast<bool>(scope));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
