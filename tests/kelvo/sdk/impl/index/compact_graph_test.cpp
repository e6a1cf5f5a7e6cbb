#include "kelvo/sdk/impl/index/compact_graph.h"

#include "kelvo/sdk/impl/index/node_table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using Kind = CompactGraph::Kind;
using Leads = std::vector<Lead>;

// The graph never looks into its nodes, so that any distinct addresses will do.
Node* fakeNode(std::size_t number) {
    static std::vector<char> addresses(1000);
    return reinterpret_cast<Node*>(&addresses[number]);
}

std::optional<Leads> known(const CompactGraph& graph, Kind kind, NodeNumber number) {
    const LeadRow* row = graph.row(kind, number);
    return row ? std::optional(Leads(row->begin(), row->end())) : std::nullopt;
}

Leads leadsTo(NodeNumber count) {
    Leads leads;
    for (NodeNumber i = 0; i < count; ++i)
        leads.emplace_back(i, i % 3 == 0);
    return leads;
}

// ---- Numbers -------------------------------------------------------------------------------

TEST(CompactGraph, Numbers_AreDense) {
    CompactGraph graph;
    for (NodeNumber i = 0; i < 100; ++i)
        EXPECT_EQ(graph.claim(), i);
    EXPECT_EQ(graph.end(), 100u);
    EXPECT_EQ(graph.node(5), nullptr);
    EXPECT_EQ(graph.node(noNumber), nullptr);
}

TEST(CompactGraph, ReleasedNumber_IsGivenAgain) {
    CompactGraph graph;
    for (int i = 0; i < 3; ++i)
        static_cast<void>(graph.claim());
    graph.release(1);
    EXPECT_EQ(graph.claim(), 1u);
    EXPECT_EQ(graph.claim(), 3u);
}

TEST(CompactGraph, PlacedNode_IsFoundByItsNumber) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    graph.place(number, fakeNode(1));
    EXPECT_EQ(graph.node(number), fakeNode(1));
    graph.place(number, nullptr);
    EXPECT_EQ(graph.node(number), nullptr);
}

TEST(NodeTableNumbers, NodeThatIsOut_KeepsItsNumberAsLongAsItsPlaceIsKept) {
    NodeTable table;
    table.add("a", fakeNode(1));
    const NodeNumber number = table.add("b", fakeNode(2));
    {
        NodeTable::Place place = table.take("b");
        EXPECT_NE(table.add("c", fakeNode(3)), number);
        EXPECT_EQ(table.add(std::move(place), "b", fakeNode(2), 0), number);
        place = table.take("b");
        EXPECT_EQ(table.graph().node(number), nullptr);
    }
    EXPECT_EQ(table.add("d", fakeNode(4)), number);
}

TEST(NodeTableNumbers, Renaming_KeepsTheNumber) {
    NodeTable table;
    const NodeNumber number = table.add("a", fakeNode(1));
    table.rename("a", "b");
    EXPECT_EQ(table.graph().node(number), fakeNode(1));
    EXPECT_EQ(table.replace("b", fakeNode(2)), number);
    EXPECT_EQ(table.graph().node(number), fakeNode(2));
}

// ---- Rows ----------------------------------------------------------------------------------

TEST(CompactGraph, NewNumber_HasNoKnownRow) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    for (const Kind kind : CompactGraph::allKinds)
        EXPECT_FALSE(known(graph, kind, number));
}

TEST(CompactGraph, FilledRow_IsKnownUntilItIsDropped) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    for (const NodeNumber count : {0u, 1u, 2u, 3u, 4u, 100u, 2u, 101u}) {
        graph.fill(Kind::Readers, number, leadsTo(count));
        EXPECT_EQ(known(graph, Kind::Readers, number), leadsTo(count)) << count;
        EXPECT_FALSE(known(graph, Kind::Dependencies, number));
        graph.drop(Kind::Readers, number);
        EXPECT_FALSE(known(graph, Kind::Readers, number));
    }
}

// Three parents or three children are common; their rows need no memory beyond the table's.
TEST(CompactGraph, RowOfThreeLeads_IsInTheTable) {
    static_assert(sizeof(LeadRow) == 16);
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    const LeadRow& row = graph.fill(Kind::Readers, number, leadsTo(3));
    const auto place = reinterpret_cast<std::uintptr_t>(&row);
    const auto leads = reinterpret_cast<std::uintptr_t>(row.begin());
    EXPECT_LE(place, leads);
    EXPECT_LE(leads + 3 * sizeof(Lead), place + sizeof(LeadRow));
}

TEST(CompactGraph, RowsOfANumberThatIsPlacedAnew_AreNotKnown) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    graph.place(number, fakeNode(1));
    graph.fill(Kind::Children, number, leadsTo(9));
    graph.place(number, fakeNode(2));
    EXPECT_FALSE(known(graph, Kind::Children, number));
}

TEST(CompactGraph, Rows_StayAsTheGraphGrows) {
    CompactGraph graph;
    for (NodeNumber i = 0; i < 1000; ++i)
        graph.fill(Kind::Dependencies, graph.claim(), leadsTo(i % 7));
    for (NodeNumber i = 0; i < 1000; ++i)
        EXPECT_EQ(known(graph, Kind::Dependencies, i), leadsTo(i % 7));
}

// ---- Marks ---------------------------------------------------------------------------------

TEST(CompactGraphMarks, First_IsNewAndKeepsItsValue) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    CompactGraph::Marks marks(graph);
    EXPECT_TRUE(marks.add(number, 7).isNew);
    EXPECT_FALSE(marks.add(number, 9).isNew);
    EXPECT_EQ(marks.add(number, 9).value, 7);
}

// A large graph keeps the room of one walk for the next.
TEST(CompactGraphMarks, OfOneWalk_DoNotCountForTheNext) {
    CompactGraph graph;
    NodeNumber number = 0;
    while (graph.end() < 1000)
        number = graph.claim();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(CompactGraph::Marks(graph).add(number, 1).isNew);
}

TEST(CompactGraphMarks, OfTwoWalksAtATime_AreKeptApart) {
    CompactGraph graph;
    const NodeNumber number = graph.claim();
    CompactGraph::Marks first(graph), second(graph);
    EXPECT_TRUE(first.add(number, 1).isNew);
    EXPECT_TRUE(second.add(number, 2).isNew);
    EXPECT_EQ(first.add(number, 0).value, 1);
}

TEST(CompactGraphMarks, OfNumbersThatCameInSince_AreNew) {
    CompactGraph graph;
    while (graph.end() < 1000)
        static_cast<void>(graph.claim());
    EXPECT_TRUE(CompactGraph::Marks(graph).add(0, 0).isNew);
    const NodeNumber later = graph.claim();
    EXPECT_TRUE(CompactGraph::Marks(graph).add(later, 0).isNew);
}

TEST(CompactGraphMarks, FoundNodes_AreOfThisWalkAlone) {
    CompactGraph graph;
    while (graph.end() < 1000)
        static_cast<void>(graph.claim());
    for (std::size_t i = 0; i < 3; ++i) {
        CompactGraph::Marks marks(graph);
        EXPECT_TRUE(marks.found().empty());
        marks.found().push_back(fakeNode(i));
        EXPECT_EQ(marks.found(), std::vector<Node*>{fakeNode(i)});
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
