#include "kelvo/sdk/impl/graph/path_graph.h"

#include "tests/support/node_graph.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using Numbers = std::vector<PathGraph::Number>;

Numbers followersOf(PathGraph& graph, PathGraph::Number number) {
    Numbers out;
    graph.listFollowers(number, out);
    return out;
}

TEST(PathGraph, Nodes_AreNumberedAsTheyAreMet) {
    tests::NodeGraph nodes;
    Node *a = nodes.add("a"), *b = nodes.add("b"), *c = nodes.add("c");
    for (Node* child : {c, b, c})
        tests::NodeGraph::link(a, child);
    PathGraph graph(nullptr, false);
    EXPECT_EQ(graph.numberOf(a), 0u);
    EXPECT_EQ(followersOf(graph, 0), (Numbers{1, 2}));
    EXPECT_EQ(&graph.node(1), c);
    EXPECT_EQ(graph.numberOf(b), 2u);
    EXPECT_EQ(graph.size(), 3u);
}

TEST(PathGraph, Target_LeadsNowhere) {
    tests::NodeGraph nodes;
    Node *a = nodes.add("a"), *b = nodes.add("b");
    tests::NodeGraph::link(a, b);
    tests::NodeGraph::link(b, a);
    PathGraph graph(b, false);
    EXPECT_EQ(followersOf(graph, graph.numberOf(a)), Numbers{1});
    EXPECT_EQ(followersOf(graph, 1), Numbers{});
}

TEST(PathGraph, AllLinks_LeadThroughWhatInputsHold) {
    tests::NodeGraph nodes;
    Node *a = nodes.add("a"), *b = nodes.add("b"), *c = nodes.add("c");
    IInput* object = a->createInput("o", AttrType::Object);
    object->createInput(String("l"), AttrType::Node)->setNode(b);
    a->createInput("r", AttrType::Real)->connect(c->createOutput("out", AttrType::Real));
    PathGraph graph(nullptr, true);
    EXPECT_EQ(followersOf(graph, graph.numberOf(a)), (Numbers{1, 2}));
    EXPECT_EQ(&graph.node(2), c);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
