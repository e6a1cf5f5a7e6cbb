#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "kelvo/sdk/snapshot_pieces.h"
#include "tests/support/memory_pieces.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr u64 nodesOfPiece = 256;

class SnapshotVisitsTest : public testing::Test {
protected:
    SnapshotVisitsTest() {
        for (u32 i = 0; i < 1000; ++i) {
            const Node node = m_scene.createNode("t", String::format("n%u", i));
            EXPECT_TRUE(node.createInput("next", AttrType::Node).result());
            EXPECT_TRUE(node.createInput("in", AttrType::Int).set(i));
            node.createOutput("out", AttrType::Int);
        }
        for (u32 i = 0; i < 1000; ++i)
            EXPECT_TRUE(m_scene.node(i)["next"].set(m_scene.node((i + 700) % 1000)));
        EXPECT_TRUE(m_scene["n4"]["in"].connect(m_scene["n900"].output("out")));
        m_live = m_scene.snapshot();
        m_stored = tests::MemorySink::store(m_live);
    }
    Snapshot opened() {
        const Made<Snapshot> made = openSnapshot(RefersTo<PieceSource>(m_stored.get()));
        EXPECT_TRUE(made.result()) << made.message();
        m_readsOfOpening = reads();
        return made;
    }
    // Returns how often pieces were read since the snapshot was opened.
    [[nodiscard]] u32 newReads() const { return reads() - m_readsOfOpening; }
    static std::string namesIn(const Snapshot& snapshot, u64 begin, u64 end) {
        std::string names;
        snapshot.visitNodes(begin, end, [&](const SnapshotNode& node) {
            names.append(node.name().view()).append(" ");
        });
        return names;
    }

    Scene m_scene = Scene::create();
    Snapshot m_live;
    RefersTo<tests::MemoryPieces> m_stored;

private:
    [[nodiscard]] u32 reads() const {
        return std::accumulate(m_stored->reads.begin(), m_stored->reads.end(), 0U);
    }
    u32 m_readsOfOpening = 0;
};

TEST_F(SnapshotVisitsTest, Nodes_AreVisitedInTheirOrder) {
    for (const Snapshot& snapshot : {m_live, opened()}) {
        EXPECT_EQ(namesIn(snapshot, 254, 258), "n254 n255 n256 n257 ");
        EXPECT_EQ(namesIn(snapshot, 998, 5000), "n998 n999 ");
        EXPECT_EQ(namesIn(snapshot, 7, 7) + namesIn(snapshot, 9, 3), "");
    }
    EXPECT_EQ(namesIn(Snapshot(), 0, 10), "");
}

TEST_F(SnapshotVisitsTest, NodesOfAStoredSnapshot_AreNotKept) {
    const Snapshot snapshot = opened();
    for (const u32 visits : {1U, 2U}) {
        namesIn(snapshot, 0, 2 * nodesOfPiece);
        EXPECT_EQ(newReads(), 2 * visits);
    }
    const SnapshotNode kept = snapshot.node(3);
    EXPECT_EQ(newReads(), 5U);
    snapshot.visitNodes(3, 4, [&](const SnapshotNode& node) { EXPECT_EQ(node, kept); });
    EXPECT_EQ(newReads(), 5U) << "a node that was asked for is kept";
}

TEST_F(SnapshotVisitsTest, VisitedNodes_SayTheSameAsKeptOnes) {
    const Snapshot snapshot = opened();
    u64 index = 0;
    snapshot.visitNodes(0, 1000, [&](const SnapshotNode& node) {
        const SnapshotNode live = m_live.node(index++);
        ASSERT_EQ(node.hash(), live.hash()) << node.name();
        ASSERT_EQ(node["in"].get<i64>(), live["in"].get<i64>());
        ASSERT_EQ(node["next"].linkedNumber(), (node.number() + 700) % 1000);
        ASSERT_EQ(node["in"].isConnected(), live["in"].source().node().number() == 900);
    });
    EXPECT_EQ(index, 1000U);
}

TEST_F(SnapshotVisitsTest, HashesOfLinks_KeepNoNodesAndReadEachPieceOnceMore) {
    const Snapshot snapshot = opened();
    snapshot.visitNodes(0, 256, [](const SnapshotNode& node) { (void)node["next"].linked(); });
    EXPECT_EQ(newReads(), 3U) << "a link that is followed keeps its node";
    const Snapshot other = opened();
    other.visitNodes(0, 256, [](const SnapshotNode& node) { (void)node["next"].linkedNumber(); });
    EXPECT_EQ(newReads(), 1U);
    other.visitNodes(512, 768, [](const SnapshotNode& node) {
        if (node.number() != 4) (void)node.hash();
    });
    const u32 once = newReads();
    EXPECT_LE(once, 4U);
    other.visitNodes(512, 768, [](const SnapshotNode& node) { (void)node.hash(); });
    EXPECT_EQ(newReads(), once + 1);
}

TEST_F(SnapshotVisitsTest, DamagedPiece_IsPassedOverAndTold) {
    m_stored->pieces[1].size = 2;
    const Snapshot snapshot = opened();
    EXPECT_EQ(namesIn(snapshot, 254, 513), "n254 n255 n512 ");
    EXPECT_FALSE(snapshot.damage());
}

TEST_F(SnapshotVisitsTest, LinkIntoADamagedPiece_IsTold) {
    m_stored->pieces[2].size = 2;
    const Snapshot snapshot = opened();
    snapshot.visitNodes(0, 256, [](const SnapshotNode& node) { (void)node.hash(); });
    EXPECT_FALSE(snapshot.damage());
}

TEST_F(SnapshotVisitsTest, WhatAVisitThrows_Arrives) {
    for (const Snapshot& snapshot : {m_live, opened()})
        EXPECT_THROW(snapshot.visitNodes(0, 1000,
                                         [](const SnapshotNode& node) {
                                             if (node.number() == 300)
                                                 throw std::runtime_error("enough");
                                         }),
                     std::runtime_error);
}

TEST_F(SnapshotVisitsTest, InputThatNoNodeHas_IsKnownWithoutReadingNodes) {
    const Snapshot snapshot = opened();
    EXPECT_FALSE(snapshot.mayHaveInput("modifiers"));
    EXPECT_TRUE(snapshot.mayHaveInput("NEXT"));
    EXPECT_EQ(newReads(), 0U);
    EXPECT_FALSE(Snapshot().mayHaveInput("next"));
    EXPECT_FALSE(m_live.mayHaveInput("modifiers"));
    m_scene["n1"].createArray("modifiers", AttrType::Node);
    EXPECT_TRUE(m_scene.snapshot().mayHaveInput("modifiers"));
}

} // namespace
} // namespace qv::kelvo_sdk
