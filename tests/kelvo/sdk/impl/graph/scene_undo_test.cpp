#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class SceneUndo : public testing::Test {
protected:
    void create(const char* name) {
        m_scene->beginEdit();
        m_scene->createNode("thing", name);
        m_scene->recordEdit(String("Create ") + name, String("Remove ") + name);
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(SceneUndo, OfANewScene_IsOff) {
    EXPECT_FALSE(m_scene->undoEnabled());
    EXPECT_FALSE(m_scene->undoInProgress());
    EXPECT_FALSE(m_scene->undo());
    EXPECT_FALSE(m_scene->redo());
    EXPECT_EQ(m_scene->undoBytes(), 0u);
}

TEST_F(SceneUndo, Steps_AreCountedAndNamedFromTheLatest) {
    m_scene->setUndoEnabled(true);
    create("a");
    create("b");
    EXPECT_EQ(m_scene->undoCount(), 2u);
    EXPECT_STREQ(m_scene->undoStep(0).doText.buf(), "Create b");
    EXPECT_TRUE(m_scene->undo());
    EXPECT_EQ(m_scene->redoCount(), 1u);
    EXPECT_STREQ(m_scene->redoStep(0).undoText.buf(), "Remove b");
}

TEST_F(SceneUndo, Checkpoint_BringsTheSceneBackToIt) {
    m_scene->setUndoEnabled(true);
    create("a");
    m_scene->setCheckpoint("start");
    create("b");
    create("c");
    EXPECT_TRUE(m_scene->returnTo("start"));
    EXPECT_EQ(m_scene->nodeCount(), 1u);
    EXPECT_FALSE(m_scene->returnTo("nowhere"));
    ASSERT_EQ(m_scene->checkpoints().size(), 1u);
}

TEST_F(SceneUndo, Saved_UntilTheNextChangeAndAgainAfterUndo) {
    m_scene->setUndoEnabled(true);
    create("a");
    m_scene->markSaved();
    EXPECT_TRUE(m_scene->isSaved());
    create("b");
    EXPECT_FALSE(m_scene->isSaved());
    m_scene->undo();
    EXPECT_TRUE(m_scene->isSaved());
}

TEST_F(SceneUndo, TurnedOff_ForgetsItsSteps) {
    m_scene->setUndoEnabled(true);
    create("a");
    m_scene->setUndoEnabled(false);
    EXPECT_EQ(m_scene->undoCount(), 0u);
    EXPECT_FALSE(m_scene->undo());
    EXPECT_EQ(m_scene->nodeCount(), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
