#include "kelvo/sdk/impl/graph/first_path.h"

#include "kelvo/sdk/impl/graph/path_search.h"
#include "tests/support/node_graph.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::kelvo_sdk::impl {
namespace {

using interfaces::INode;

PathGoal nodeGoal(const INode* target) {
    return {false, target, {}};
}

class FirstPathTest : public testing::Test {
protected:
    static void link(Node* parent, Node* child) { tests::NodeGraph::link(parent, child); }

    tests::NodeGraph m_graph;
    Node* m_start = m_graph.add("start");
    Node* m_middle = m_graph.add("middle");
    Node* m_end = m_graph.add("end");
};

TEST_F(FirstPathTest, Path_RunsFromTheStartToTheGoal) {
    link(m_start, m_middle);
    link(m_middle, m_end);
    EXPECT_EQ(firstPath(*m_start, nodeGoal(m_end), false),
              (ds::Vector<INode*>{m_start, m_middle, m_end}));
}

TEST_F(FirstPathTest, GoalOutOfReach_HasNoPath) {
    link(m_end, m_start);
    EXPECT_TRUE(firstPath(*m_start, nodeGoal(m_end), false).isEmpty());
}

TEST_F(FirstPathTest, StartOnACycle_HasNoPathToItself) {
    link(m_start, m_middle);
    link(m_middle, m_start);
    EXPECT_TRUE(firstPath(*m_start, nodeGoal(m_start), false).isEmpty());
}

TEST_F(FirstPathTest, DeadEnd_IsNotPartOfThePath) {
    link(m_start, m_middle);
    link(m_start, m_end);
    EXPECT_EQ(firstPath(*m_start, nodeGoal(m_end), false), (ds::Vector<INode*>{m_start, m_end}));
}

TEST_F(FirstPathTest, OfRandomGraphs_IsThatOfTheSearch) {
    constexpr u64 count = 12;
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        tests::NodeGraph graph;
        for (u64 i = 0; i < count; ++i)
            graph.add(std::to_string(i).c_str());
        for (u64 i = 0; i < 2 * count; ++i)
            link(graph[random() % count], graph[random() % count]);
        GoalGraph space(graph[0], nodeGoal(graph[1]), false);
        PathSearch search(space);
        ds::Vector<INode*> expected;
        if (search.next())
            for (u64 i = 0; i < search.length(); ++i)
                expected.push_back(space.node(search.at(i)));
        EXPECT_EQ(firstPath(*graph[0], nodeGoal(graph[1]), false), expected) << round;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
