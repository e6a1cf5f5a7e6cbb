#include "kelvo/sdk/impl/graph/node_change_scope.h"

#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::RecordingScene;

class NodeChangeScopeTest : public testing::Test {
protected:
    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
};

TEST_F(NodeChangeScopeTest, OnASceneThatRecords_OpensAStepWithEmptyTexts) {
    m_scene->recordsUndo = true;
    {
        const NodeChangeScope scope(m_scene.get());
        EXPECT_EQ(m_journal.take(), "begin");
    }
    EXPECT_EQ(m_journal.take(), "record(|)");
}

TEST_F(NodeChangeScopeTest, OnASceneWithoutUndo_DoesNothing) {
    { const NodeChangeScope scope(m_scene.get()); }
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_EQ(m_scene->undoQueries, 1);
}

TEST_F(NodeChangeScopeTest, DuringReplay_DoesNothing) {
    m_scene->recordsUndo = true;
    m_scene->isReplaying = true;
    { const NodeChangeScope scope(m_scene.get()); }
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeChangeScopeTest, WithoutAScene_DoesNothing) {
    EXPECT_NO_THROW(const NodeChangeScope scope(nullptr));
    EXPECT_EQ(m_journal.take(), "");
}

// The scope decides at its start whether to record, for its whole lifetime.
TEST_F(NodeChangeScopeTest, SceneThatStopsRecordingMeanwhile_IsReportedOfTheEnd) {
    m_scene->recordsUndo = true;
    {
        const NodeChangeScope scope(m_scene.get());
        m_scene->recordsUndo = false;
    }
    EXPECT_EQ(m_journal.take(), "begin record(|)");
}

TEST_F(NodeChangeScopeTest, OpenStep_KeepsTheSceneAlive) {
    m_scene->recordsUndo = true;
    {
        const NodeChangeScope scope(m_scene.get());
        m_scene.reset();
        EXPECT_EQ(m_journal.take(), "begin");
    }
    EXPECT_EQ(m_journal.take(), "record(|) scene-gone");
}

TEST_F(NodeChangeScopeTest, Nested_EachOpensItsStep) {
    m_scene->recordsUndo = true;
    {
        const NodeChangeScope outer(m_scene.get());
        const NodeChangeScope inner(m_scene.get());
    }
    EXPECT_EQ(m_journal.take(), "begin begin record(|) record(|)");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
