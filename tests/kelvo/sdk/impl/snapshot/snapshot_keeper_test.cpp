#include "kelvo/sdk/impl/snapshot/snapshot_keeper.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_delta.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk {
namespace {

// Most changes between two snapshots are those of one value in each node.
class SnapshotKeeperTest : public testing::Test {
protected:
    SnapshotKeeperTest() {
        m_scene.setUndoEnabled(true);
        m_node.createInput("x", AttrType::Real).set(1.0);
        m_node.createInput("text", AttrType::String).set("short");
        m_before = m_scene.snapshot();
    }
    SnapshotNode now() {
        m_now = m_scene.snapshot();
        return m_now["a"];
    }

    impl::Input& own(const char* name) { return *impl::implOf(m_node[name].get()); }

    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("thing", "a");
    Snapshot m_before;
    Snapshot m_now;
};

TEST_F(SnapshotKeeperTest, ChangedValue_IsNewWhileTheOthersStay) {
    m_node["x"].set(2.0);
    EXPECT_EQ(now()["x"].get<double>(), 2.0);
    EXPECT_EQ(m_now["a"]["text"].text(), "short");
    EXPECT_EQ(m_before["a"]["x"].get<double>(), 1.0);
    const SnapshotDelta found = delta(m_before, m_now);
    ASSERT_EQ(found.changed().size(), 1U);
    EXPECT_NE(m_now["a"].hash(), m_before["a"].hash());
}

TEST_F(SnapshotKeeperTest, ChangedValues_OfTwoInputs_AreBothNew) {
    m_node["x"].set(2.0);
    m_node["text"].set("a longer text that replaces the short one");
    EXPECT_EQ(now()["x"].get<double>(), 2.0);
    EXPECT_EQ(m_now["a"]["text"].text(), "a longer text that replaces the short one");
}

TEST_F(SnapshotKeeperTest, ValueSetBack_IsNoChange) {
    m_node["x"].set(2.0);
    m_node["x"].set(1.0);
    EXPECT_EQ(now()["x"].get<double>(), 1.0);
    EXPECT_TRUE(delta(m_before, m_now).changed().empty());
}

TEST_F(SnapshotKeeperTest, ChangedText_LivesAsLongAsASnapshotHasIt) {
    m_node["text"].set("a longer text that replaces the short one");
    const Snapshot second = m_scene.snapshot();
    m_node["text"].set("third");
    m_before = {};
    EXPECT_EQ(now()["text"].text(), "third");
    EXPECT_EQ(second["a"]["text"].text(), "a longer text that replaces the short one");
}

TEST_F(SnapshotKeeperTest, ChangedBuffer_IsSharedAndItsNeighbourToo) {
    m_node.createBuffer("b", DataType::Float).setBuffer(std::array{1.0F});
    m_node.createBuffer("kept", DataType::Float).setBuffer(std::array{5.0F});
    m_before = m_scene.snapshot();
    m_node["b"].setBuffer(std::array{2.0F, 3.0F});
    EXPECT_EQ(now()["b"].buffer<float>().data(), m_node["b"].buffer<float>().data());
    EXPECT_EQ(m_now["a"]["kept"].buffer<float>().data(), m_node["kept"].buffer<float>().data());
    EXPECT_EQ(m_before["a"]["b"].buffer<float>()[0], 1.0F);
}

TEST_F(SnapshotKeeperTest, InputRemoved_AfterItsValueChanged_IsGone) {
    m_node["x"].set(2.0);
    m_node.removeInput("x");
    EXPECT_TRUE(now()["x"].isEmpty());
    m_scene.undo();
    EXPECT_EQ(now()["x"].get<double>(), 2.0);
}

TEST_F(SnapshotKeeperTest, InputRemovedAndMadeAgain_HasItsOwnKind) {
    m_scene.setUndoEnabled(false);
    m_node["x"].set(2.0);
    m_node.removeInput("x");
    m_node.createInput("x", AttrType::Int).set(7);
    EXPECT_EQ(now()["x"].type(), AttrType::Int);
    EXPECT_EQ(m_now["a"]["x"].get<i64>(), 7);
}

TEST_F(SnapshotKeeperTest, NodeRemoved_AfterItsValueChanged_IsGoneAndItsNumberServesAnother) {
    m_before = {};
    m_scene.setUndoEnabled(false);
    m_node["x"].set(2.0);
    m_scene.removeNode(m_node);
    m_node = {};
    m_scene.createNode("other", "b").createInput("y", AttrType::Int).set(3);
    EXPECT_TRUE(now().isEmpty());
    EXPECT_EQ(m_now["b"]["y"].get<i64>(), 3);
}

TEST_F(SnapshotKeeperTest, RenamedInputAndMark_AfterTheValueChanged_AreNew) {
    m_node["x"].set(2.0);
    ASSERT_TRUE(m_node["x"].rename("y"));
    m_node["text"].set("changed");
    own("text").setReadOnly(true);
    EXPECT_EQ(now()["y"].get<double>(), 2.0);
    EXPECT_TRUE(m_now["a"]["text"].isReadOnly());
    EXPECT_EQ(m_now["a"]["text"].text(), "changed");
}

TEST_F(SnapshotKeeperTest, ValueOfAnElement_IsNew) {
    const Input array = m_node.createArray("list", AttrType::Int);
    array.append().set(1);
    m_before = m_scene.snapshot();
    ASSERT_TRUE(m_node["list"].input(0).set(2));
    EXPECT_EQ(now()["list"].input(0).get<i64>(), 2);
}

TEST_F(SnapshotKeeperTest, ValueChangedBesideAStash_KeepsTheStash) {
    own("x").stash();
    m_before = m_scene.snapshot();
    m_node["text"].set("changed");
    EXPECT_EQ(now()["text"].text(), "changed");
    EXPECT_NE(m_now.text().view().find("@stashed"), std::string_view::npos);
}

// The reader's record has the position of the output, which moves.
TEST_F(SnapshotKeeperTest, ValueOfAReader_ChangedBeforeOutputsMoved_LeavesItsSource) {
    const Node source = m_scene.createNode("source", "s");
    source.createOutput("first", AttrType::Real);
    m_node.createInput("in", AttrType::Real).connect(source.createOutput("o", AttrType::Real));
    m_before = m_scene.snapshot();
    m_node["x"].set(2.0);
    source.removeOutput("first");
    EXPECT_EQ(now()["in"].source().name(), String("o"));
    EXPECT_EQ(m_now["a"]["x"].get<double>(), 2.0);
}

} // namespace
} // namespace qv::kelvo_sdk
