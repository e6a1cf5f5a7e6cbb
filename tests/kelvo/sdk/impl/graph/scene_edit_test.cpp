#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

struct EndsCounter : SceneFollower {
    void editsEnded() noexcept override { ++ends; }
    int ends = 0;
};

class SceneEdit : public testing::Test {
protected:
    SceneEdit() { m_scene->followers().join(m_counter); }
    ~SceneEdit() override { m_scene->followers().leave(m_counter); }

    EndsCounter m_counter;
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(SceneEdit, BeginsAndEnds_MayBeUnbalanced) {
    m_scene->recordEdit("", "");
    m_scene->endEditGroup();
    EXPECT_EQ(m_scene->editDepth(), 0u);
    EXPECT_FALSE(m_scene->isEditing());
}

TEST_F(SceneEdit, Nested_CountsItsDepthAndIsOneStep) {
    m_scene->setUndoEnabled(true);
    m_scene->beginEdit();
    m_scene->beginEdit();
    EXPECT_EQ(m_scene->editDepth(), 2u);
    m_scene->createNode("thing", "a");
    m_scene->recordEdit("inner", "inner");
    m_scene->createNode("thing", "b");
    m_scene->recordEdit("outer", "outer");
    EXPECT_EQ(m_scene->undoCount(), 1u);
    EXPECT_STREQ(m_scene->undoStep(0).doText.buf(), "outer");
}

TEST_F(SceneEdit, Cancelled_TakesBackWhatWasDoneSinceThatDepth) {
    m_scene->setUndoEnabled(true);
    m_scene->beginEdit();
    m_scene->createNode("thing", "kept");
    m_scene->beginEdit();
    m_scene->createNode("thing", "dropped");
    m_scene->cancelEdit(2);
    m_scene->recordEdit("outer", "outer");
    EXPECT_NE(m_scene->findNode("kept"), nullptr);
    EXPECT_EQ(m_scene->findNode("dropped"), nullptr);
}

TEST_F(SceneEdit, Group_HasFollowersWaitForItsEnd) {
    m_scene->beginEditGroup();
    m_scene->createNode("thing", "a");
    m_scene->createNode("thing", "b");
    EXPECT_TRUE(m_scene->isEditing());
    EXPECT_EQ(m_counter.ends, 0);
    m_scene->endEditGroup();
    EXPECT_FALSE(m_scene->isEditing());
    EXPECT_EQ(m_counter.ends, 1);
}

TEST_F(SceneEdit, NestedGroups_EndWithTheOutermost) {
    m_scene->beginEditGroup();
    m_scene->beginEditGroup();
    m_scene->endEditGroup();
    EXPECT_EQ(m_counter.ends, 0);
    m_scene->endEditGroup();
    EXPECT_EQ(m_counter.ends, 1);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
