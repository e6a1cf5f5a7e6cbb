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

TEST(SceneObject, SetDirty_WithoutArgument_MakesItDirty) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    scene->setDirty();
    EXPECT_TRUE(scene->isDirty());
    scene->setDirty(false);
    EXPECT_FALSE(scene->isDirty());
}

TEST(SceneObject, UndoQueries_AnswerThatItIsOff) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    EXPECT_FALSE(scene->undoEnabled());
    EXPECT_FALSE(scene->undoInProgress());
}

TEST(SceneObject, EditsAndGroups_MayBeUnbalanced) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    scene->recordEdit("", "");
    scene->endEditGroup();
    scene->beginEdit();
    scene->beginEditGroup();
    scene->endEditGroup();
    scene->recordEdit("do", "undo");
    EXPECT_EQ(scene->nodeCount(), 0u);
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
