// Places in a scene's history: checkpoints, and the saved state.

#include "tests/support/history_scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class HistoryPlaces : public testing::Test, protected tests::HistoryScene {};

TEST_F(HistoryPlaces, Checkpoint_IsReachedFromBothSides) {
    m_radius->setReal(1);
    m_scene.setCheckpoint("one");
    m_radius->setReal(2);
    m_radius->setReal(3);
    EXPECT_TRUE(m_scene.returnTo("one"));
    EXPECT_EQ(radius(), 1);
    m_scene.undo();
    EXPECT_TRUE(m_scene.returnTo("one"));
    EXPECT_EQ(radius(), 1);
    EXPECT_TRUE(m_scene.returnTo("one"));
}

TEST_F(HistoryPlaces, CheckpointOutOfReach_IsFalseAndChangesNothing) {
    m_radius->setReal(1);
    m_scene.setCheckpoint("one");
    m_scene.undo();
    m_radius->setReal(2);
    EXPECT_FALSE(m_scene.returnTo("one"));
    EXPECT_FALSE(m_scene.returnTo("nowhere"));
    EXPECT_EQ(radius(), 2);
    EXPECT_TRUE(m_scene.checkpoints().empty());
}

TEST_F(HistoryPlaces, Checkpoints_AreListedOldestFirst) {
    m_scene.setCheckpoint("start");
    m_radius->setReal(1);
    m_scene.setCheckpoint("end");
    m_scene.setCheckpoint("also");
    EXPECT_EQ(m_scene.checkpoints().join(" "), "start also end");
}

TEST_F(HistoryPlaces, Saved_IsAPlaceInTheHistory) {
    m_scene.markSaved();
    EXPECT_TRUE(m_scene.isSaved());
    m_radius->setReal(1);
    EXPECT_FALSE(m_scene.isSaved());
    m_scene.undo();
    EXPECT_TRUE(m_scene.isSaved());
    m_radius->setReal(2);
    m_scene.undo();
    EXPECT_TRUE(m_scene.isSaved());
}

TEST_F(HistoryPlaces, SavedStateOutOfReach_IsNeverMet) {
    m_radius->setReal(1);
    m_scene.markSaved();
    m_scene.undo();
    m_radius->setReal(2);
    m_scene.undo();
    EXPECT_FALSE(m_scene.isSaved());
}

TEST_F(HistoryPlaces, RefusedParenting_LeavesTheSceneSaved) {
    const kelvo_sdk::Node room = m_scene.createNode("xform", "room");
    const kelvo_sdk::Node lamp = m_scene.createNode("xform", "lamp");
    room.createArray("children", AttrType::Node);
    ASSERT_TRUE(lamp->parentTo(room.get()));
    m_scene.markSaved();
    EXPECT_FALSE(lamp->parentTo(room.get()));
    EXPECT_TRUE(m_scene.isSaved());
}

TEST_F(HistoryPlaces, RefusedParentingAcrossScenes_LeavesTheSceneSaved) {
    const kelvo_sdk::Node room = m_scene.createNode("xform", "room");
    const kelvo_sdk::Input children = room.createArray("children", AttrType::Node);
    const kelvo_sdk::Scene other = kelvo_sdk::Scene::create();
    const kelvo_sdk::Node lamp = other.createNode("xform", "lamp");
    m_scene.markSaved();
    const LogCapture log;
    EXPECT_FALSE(lamp->parentTo(room.get()));
    EXPECT_TRUE(m_scene.isSaved());
    EXPECT_EQ(children.inputCount(), 0u);
    EXPECT_EQ(log.text(), "warning: Cannot parent node 'lamp' to node 'room': the two nodes belong "
                          "to different scenes.\n");
}

TEST_F(HistoryPlaces, UndoOff_SavedIsTrueUntilTheFirstChange) {
    m_scene.setUndoEnabled(false);
    m_scene.markSaved();
    EXPECT_TRUE(m_scene.isSaved());
    m_radius->setReal(1);
    EXPECT_FALSE(m_scene.isSaved());
    m_scene.setUndoEnabled(true);
    EXPECT_FALSE(m_scene.isSaved());
    m_scene.markSaved();
    EXPECT_TRUE(m_scene.isSaved());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
