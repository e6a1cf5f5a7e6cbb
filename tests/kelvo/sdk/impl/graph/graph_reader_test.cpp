#include "kelvo/sdk/impl/graph/graph_reader.h"

#include "tests/support/node_probe.h"
#include "tests/support/walked_scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::faultsOf;
using tests::fillRows;
using GraphReaderTest = tests::WalkedScene;

TEST_F(GraphReaderTest, Leads_ComeInOrder) {
    EXPECT_EQ(leads(m_room, LeadKind::Dependencies), "lamp desk ");
    EXPECT_EQ(leads(m_room, LeadKind::Children), "lamp desk ");
    EXPECT_EQ(leads(m_lamp, LeadKind::Dependencies), "desk! room ");
    EXPECT_EQ(leads(m_lamp, LeadKind::Children), "");
    EXPECT_EQ(leads(m_desk, LeadKind::Readers), "room lamp! ");
}

TEST_F(GraphReaderTest, LeadsBackward_ComeLastFirst) {
    EXPECT_EQ(leadsBackward(m_lamp, LeadKind::Dependencies), "room desk! ");
    EXPECT_EQ(leadsBackward(m_desk, LeadKind::Readers), "lamp! room ");
}

TEST_F(GraphReaderTest, Row_IsKnownOnceItWasAskedFor) {
    EXPECT_FALSE(isKnown(m_desk, LeadKind::Readers));
    static_cast<void>(leads(m_desk, LeadKind::Readers));
    EXPECT_TRUE(isKnown(m_desk, LeadKind::Readers));
    EXPECT_FALSE(isKnown(m_desk, LeadKind::Dependencies));
    EXPECT_EQ(faultsOf(m_scene), "");
}

TEST_F(GraphReaderTest, AllRows_CanBeKnown) {
    EXPECT_EQ(fillRows(m_scene), 9u);
    EXPECT_EQ(faultsOf(m_scene), "");
}

// ---- Outside -------------------------------------------------------------------------------

TEST_F(GraphReaderTest, NodeThatLeadsOutOfTheScene_IsAskedItself) {
    const auto stray = RefersTo<Node>::adopt(new Node(nullptr, "thing", "stray"));
    m_home->setNode(stray.get());
    EXPECT_EQ(leads(m_lamp, LeadKind::Dependencies), "desk! stray ");
    EXPECT_FALSE(isKnown(m_lamp, LeadKind::Dependencies));
    EXPECT_EQ(faultsOf(m_scene), "");
}

TEST_F(GraphReaderTest, NodeThatLeadsOutOfTheScene_IsAskedBackwardToo) {
    const auto stray = RefersTo<Node>::adopt(new Node(nullptr, "thing", "stray"));
    m_home->setNode(stray.get());
    EXPECT_EQ(leadsBackward(m_lamp, LeadKind::Dependencies), "stray desk! ");
}

TEST_F(GraphReaderTest, NodeThatComesIn_IsNumberedWhereItIsLinkedTo) {
    const auto stray = RefersTo<Node>::adopt(new Node(nullptr, "thing", "stray"));
    m_home->setNode(stray.get());
    fillRows(m_scene);
    static_cast<Scene*>(m_scene.get())->addNode(stray.get());
    EXPECT_EQ(leads(m_lamp, LeadKind::Dependencies), "desk! stray ");
    EXPECT_TRUE(isKnown(m_lamp, LeadKind::Dependencies));
    EXPECT_EQ(faultsOf(m_scene), "");
}

// ---- Disagreement --------------------------------------------------------------------------

TEST_F(GraphReaderTest, GraphThatDisagrees_IsToldAndNotUsedAnyMore) {
    fillRows(m_scene);
    CompactGraph& graph = static_cast<Scene*>(m_scene.get())->graph();
    graph.drop(LeadKind::Dependencies, implOn(m_lamp).number());
    graph.fill(LeadKind::Dependencies, implOn(m_lamp).number(),
               {Lead(implOn(m_lamp).number(), false)});
    EXPECT_EQ(m_lamp.dependencies().size(), 0u);
    EXPECT_EQ(faultsOf(m_scene), "lamp has other dependencies than in the compact graph\n");
    EXPECT_EQ(leads(m_lamp, LeadKind::Dependencies), "desk! room ");
    EXPECT_EQ(m_lamp.dependencies().size(), 2u);
}

TEST_F(GraphReaderTest, NumberThatDisagrees_IsTold) {
    auto* desk = implOf(m_desk.get());
    const NodeNumber number = desk->number();
    tests::probe(*desk).setNumber(7);
    EXPECT_EQ(faultsOf(m_scene), "desk has another number than in the compact graph\n");
    EXPECT_EQ(m_room.children(-1).size(), 2u);
    tests::probe(*desk).setNumber(number);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
