#include "kelvo/sdk/impl/graph/path_iterator.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/node_graph.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class PathIteratorTest : public testing::Test {
protected:
    Node* make(const char* name) { return m_graph.add(name); }
    static void link(Node* parent, Node* child) { tests::NodeGraph::link(parent, child); }
    static RefersTo<PathIterator> search(Node* from, Node* to, bool firstOnly = false) {
        return RefersTo<PathIterator>::adopt(new PathIterator(from, to, false, firstOnly));
    }
    static RefersTo<PathIterator> searchTypes(Node* from, const StringVector& types) {
        return RefersTo<PathIterator>::adopt(new PathIterator(from, types, false, false));
    }
    [[nodiscard]] static std::string all(const RefersTo<PathIterator>& paths) {
        std::string text;
        for (; paths->current(); paths->next())
            text += std::string(paths->current()->text().buf()) + " ";
        return text;
    }

    tests::NodeGraph m_graph;
};

TEST_F(PathIteratorTest, New_StandsAtTheFirstPathWithOneReference) {
    Node *a = make("a"), *b = make("b");
    link(a, b);
    const auto paths = search(a, b);
    EXPECT_EQ(paths->refCount(), 1);
    EXPECT_EQ(paths->count(), 1u);
    ASSERT_NE(paths->current(), nullptr);
    EXPECT_STREQ(paths->current()->text().buf(), "a/b");
    EXPECT_FALSE(paths->next());
    EXPECT_EQ(paths->current(), nullptr);
    EXPECT_FALSE(paths->next());
}

TEST_F(PathIteratorTest, Path_TellsItsNodesAndLength) {
    Node *a = make("a"), *b = make("b"), *c = make("c");
    link(a, b);
    link(b, c);
    const auto paths = search(a, c);
    const NodePath* path = paths->current();
    EXPECT_EQ(path->nodeCount(), 3u);
    EXPECT_EQ(path->length(), 2u);
    EXPECT_EQ(path->node(0), a);
    EXPECT_EQ(path->node(1), b);
    EXPECT_EQ(path->last(), c);
    EXPECT_EQ(path->node(3), nullptr);
}

TEST_F(PathIteratorTest, PathThatIsHeld_OutlivesTheIterator) {
    Node *a = make("a"), *b = make("b");
    link(a, b);
    RefersTo<NodePath> held;
    {
        const auto paths = search(a, b);
        held = RefersTo<NodePath>(paths->current());
        paths->next();
    }
    EXPECT_EQ(held->refCount(), 1);
    EXPECT_STREQ(held->text().buf(), "a/b");
}

TEST_F(PathIteratorTest, FirstOnly_ToAnUnreachableTarget_CountsNone) {
    Node *a = make("a"), *b = make("b");
    const auto paths = search(a, b, true);
    EXPECT_EQ(paths->count(), 0u);
    EXPECT_EQ(paths->current(), nullptr);
}

TEST_F(PathIteratorTest, FirstOnly_EndsAtTheFirstPath) {
    Node* start = make("s");
    Node* end = m_graph.addDiamonds(start, 3);
    const auto paths = search(start, end, true);
    EXPECT_EQ(paths->count(), 1u);
    EXPECT_NE(paths->current(), nullptr);
    EXPECT_FALSE(paths->next());
    EXPECT_EQ(paths->current(), nullptr);
}

TEST_F(PathIteratorTest, Counting_LeavesTheIteratorWhereItIs) {
    Node* start = make("s");
    Node* end = m_graph.addDiamonds(start, 3);
    const auto paths = search(start, end);
    EXPECT_EQ(paths->count(), 8u);
    const String first = paths->current()->text();
    EXPECT_STREQ(first.buf(), "s/l/e/l/e/l/e");
    EXPECT_TRUE(paths->next());
    EXPECT_STREQ(paths->current()->text().buf(), "s/l/e/l/e/r/e");
    EXPECT_EQ(paths->count(), 8u);
}

TEST_F(PathIteratorTest, PathsWithoutCycles_AreCountedHoweverManyThereAre) {
    Node* start = make("s");
    Node* end = m_graph.addDiamonds(start, 60);
    const auto paths = search(start, end);
    EXPECT_EQ(paths->count(), u64(1) << 60);
    EXPECT_TRUE(paths->isCountExact());
    EXPECT_NE(paths->current(), nullptr);
    EXPECT_TRUE(paths->next());
}

TEST_F(PathIteratorTest, MorePathsThan64BitsHold_AreCountedInexactly) {
    Node* start = make("s");
    Node* end = m_graph.addDiamonds(start, 63);
    EXPECT_EQ(search(start, end)->count(), u64(1) << 63);
    EXPECT_TRUE(search(start, end)->isCountExact());
    const auto paths = search(start, m_graph.addDiamonds(end, 1));
    EXPECT_EQ(paths->count(), PathIterator::maxCount);
    EXPECT_FALSE(paths->isCountExact());
}

// The two sides of each diamond link to each other, which gives four routes through each.
TEST_F(PathIteratorTest, SmallCyclesAmongManyPaths_AreCountedExactly) {
    Node *start = make("s"), *end = start;
    for (int i = 0; i < 31; ++i) {
        end = m_graph.addDiamonds(end, 1);
        Node *left = m_graph[m_graph.size() - 3], *right = m_graph[m_graph.size() - 2];
        link(left, right);
        link(right, left);
    }
    const auto paths = search(start, end);
    EXPECT_EQ(paths->count(), u64(1) << 62);
    EXPECT_TRUE(paths->isCountExact());
}

// All 30 nodes link to each other, so that the routes can only be counted one by one.
TEST_F(PathIteratorTest, LargeCycles_GiveALowerBound) {
    std::vector<Node*> nodes;
    for (int i = 0; i < 30; ++i)
        nodes.push_back(make("n"));
    for (Node* from : nodes)
        for (Node* to : nodes)
            if (from != to) link(from, to);
    const auto paths = search(nodes[0], nodes[1]);
    EXPECT_GE(paths->count(), PathIterator::maxSearched);
    EXPECT_FALSE(paths->isCountExact());
    EXPECT_EQ(search(nodes[0], make("elsewhere"))->count(), 0u);
}

// Ten nodes all link to each other.
TEST_F(PathIteratorTest, CyclesThatCanBeWalked_AreCountedExactly) {
    std::vector<Node*> nodes;
    for (int i = 0; i < 10; ++i)
        nodes.push_back(make("n"));
    for (Node* from : nodes)
        for (Node* to : nodes)
            link(from, to);
    const auto paths = search(nodes[0], nodes[9]);
    EXPECT_EQ(paths->count(), 109'601u);
    EXPECT_TRUE(paths->isCountExact());
}

// A search that forgot its dead ends would try each of the 2^60 routes.
TEST_F(PathIteratorTest, UnreachableTarget_IsFoundOutAtOnce) {
    Node* start = make("s");
    m_graph.addDiamonds(start, 60);
    const auto paths = search(start, make("elsewhere"));
    EXPECT_EQ(paths->count(), 0u);
    EXPECT_EQ(paths->current(), nullptr);
}

TEST_F(PathIteratorTest, NullTarget_HasNoPaths) {
    Node *a = make("a"), *b = make("b");
    link(a, b);
    EXPECT_EQ(search(a, nullptr)->count(), 0u);
}

TEST_F(PathIteratorTest, NodeLinkedTwice_GivesOnePath) {
    Node *a = make("a"), *b = make("b");
    link(a, b);
    link(a, b);
    EXPECT_EQ(search(a, b)->count(), 1u);
}

// ---- Definition of a path ------------------------------------------------------------------

TEST_F(PathIteratorTest, Start_IsNoPathOfItsOwn) {
    Node *a = make("a"), *b = make("b");
    EXPECT_EQ(all(searchTypes(a, {})), "");
    link(a, b);
    link(b, a);
    link(a, a);
    EXPECT_EQ(all(searchTypes(a, {"xform"})), "a/b ");
    EXPECT_EQ(all(search(a, a)), "");
}

TEST_F(PathIteratorTest, Paths_RepeatNoNode) {
    Node *a = make("a"), *b = make("b"), *c = make("c");
    for (Node* from : {a, b, c}) {
        for (Node* to : {a, b, c})
            link(from, to);
    }
    EXPECT_EQ(all(searchTypes(a, {})), "a/b a/b/c a/c a/c/b ");
}

TEST_F(PathIteratorTest, Paths_ComeDepthFirstInTheOrderOfTheElements) {
    Node *a = make("a"), *b = make("b"), *c = make("c"), *d = make("d");
    link(a, c);
    link(a, nullptr);
    link(a, b);
    link(c, d);
    link(b, d);
    link(a, d);
    EXPECT_EQ(all(search(a, d)), "a/c/d a/b/d a/d ");
    EXPECT_EQ(all(searchTypes(a, {})), "a/c a/c/d a/b a/b/d a/d ");
}

// A path to a node of a type may lead through other nodes of that type; a path to a node ends
// there.
TEST_F(PathIteratorTest, ByTypes_ContinuesBehindAFoundNode) {
    Node *a = make("a"), *b = make("b"), *c = make("c");
    link(a, b);
    link(b, c);
    EXPECT_EQ(all(searchTypes(a, {"xform"})), "a/b a/b/c ");
    EXPECT_EQ(all(search(a, b)), "a/b ");
}

TEST_F(PathIteratorTest, ByTypes_CountsBasesAndIgnoresTypesThatNothingHas) {
    Node *a = make("a"), *b = m_graph.add("b", "group"), *c = m_graph.add("c", "mesh");
    b->setBases({"thing", "xform"}, false, false);
    link(a, b);
    link(b, c);
    EXPECT_EQ(all(searchTypes(a, {"thing"})), "a/b ");
    EXPECT_EQ(all(searchTypes(a, {"xform"})), "a/b ");
    EXPECT_EQ(all(searchTypes(a, {"none", "mesh", "mesh"})), "a/b/c ");
    EXPECT_EQ(all(searchTypes(a, {"none"})), "");
    EXPECT_EQ(all(searchTypes(a, {""})), "");
}

TEST_F(PathIteratorTest, HeldPath_KeepsItsNodesAfterNext) {
    Node *a = make("a"), *b = make("b"), *c = make("c");
    link(a, b);
    link(b, c);
    const auto paths = searchTypes(a, {});
    const RefersTo<NodePath> first(paths->current());
    EXPECT_TRUE(paths->next());
    EXPECT_NE(paths->current(), first.get());
    EXPECT_STREQ(first->text().buf(), "a/b");
    EXPECT_EQ(first->last(), b);
    EXPECT_EQ(first->refCount(), 1);
}

TEST_F(PathIteratorTest, Current_StaysTheSameUntilNext) {
    Node *a = make("a"), *b = make("b");
    link(a, b);
    const auto paths = search(a, b);
    const NodePath* path = paths->current();
    paths->count();
    EXPECT_EQ(paths->current(), path);
    EXPECT_EQ(path->refCount(), 1);
}

TEST_F(PathIteratorTest, SearchBehindItsEnd_StillCountsAll) {
    Node* start = make("s");
    const auto paths = search(start, m_graph.addDiamonds(start, 3));
    while (paths->next()) {
    }
    EXPECT_EQ(paths->count(), 8u);
    EXPECT_EQ(paths->current(), nullptr);
}

// ---- Large graphs --------------------------------------------------------------------------

TEST_F(PathIteratorTest, CountOfPathsByType_CountsEveryNodeOnTheWay) {
    Node* start = make("s");
    m_graph.addDiamonds(start, 3);
    EXPECT_EQ(searchTypes(start, {})->count(), 2u + 2 + 4 + 4 + 8 + 8);
    EXPECT_EQ(searchTypes(start, {"none"})->count(), 0u);
    EXPECT_TRUE(searchTypes(start, {"none"})->isCountExact());
    EXPECT_EQ(search(start, start, true)->count(), 0u);
}

TEST_F(PathIteratorTest, LongChain_IsFollowedToItsEndWithoutStack) {
    constexpr u64 kLength = 100'000;
    Node* start = make("n");
    Node* last = m_graph.addChain(start, kLength);
    tests::runOnSmallStack([&] {
        const auto paths = search(start, last);
        ASSERT_NE(paths->current(), nullptr);
        EXPECT_EQ(paths->current()->length(), kLength);
        EXPECT_EQ(paths->count(), 1u);
        EXPECT_FALSE(paths->next());
    });
}

// The last node of the chain links back to the first, and the node beside the chain is unreachable.
TEST_F(PathIteratorTest, LongCycle_Ends) {
    Node *start = make("n"), *elsewhere = make("e");
    link(m_graph.addChain(start, 100'000), start);
    tests::runOnSmallStack([&] {
        EXPECT_EQ(search(start, elsewhere)->count(), 0u);
        EXPECT_EQ(search(start, start)->count(), 0u);
    });
}

TEST_F(PathIteratorTest, ManyFollowers_AreEachFound) {
    constexpr u64 kCount = 50'000;
    Node *start = make("n"), *end = make("e");
    for (u64 i = 0; i < kCount; ++i) {
        Node* between = make("b");
        link(start, between);
        link(between, end);
    }
    EXPECT_EQ(search(start, end)->count(), kCount);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
