#include "sdk/impl/path_iterator.h"

#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

class PathIteratorTest : public testing::Test {
protected:
    Node* make(const std::string& name) {
        m_nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, "xform", String(name.c_str()))));
        Node* node = m_nodes.back().get();
        node->createArray("children", AttrType::Node);
        return node;
    }
    static void link(Node* parent, Node* child) {
        parent->findInputByName("children")->appendElement()->setNode(child);
    }
    static RefersTo<PathIterator> search(Node* from, Node* to, bool firstOnly = false) {
        return RefersTo<PathIterator>::adopt(new PathIterator(from, to, false, firstOnly));
    }

    // A row of diamonds: two ways through each, so that the paths double with every one.
    Node* makeDiamonds(Node* start, int count) {
        Node* from = start;
        for (int i = 0; i < count; ++i) {
            Node *left = make("l"), *right = make("r"), *end = make("e");
            link(from, left);
            link(from, right);
            link(left, end);
            link(right, end);
            from = end;
        }
        return from;
    }

    std::vector<RefersTo<Node>> m_nodes;
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

TEST_F(PathIteratorTest, FirstOnly_EndsAtTheFirstPath) {
    Node* start = make("s");
    Node* end = makeDiamonds(start, 3);
    const auto paths = search(start, end, true);
    EXPECT_EQ(paths->count(), 1u);
    EXPECT_NE(paths->current(), nullptr);
    EXPECT_FALSE(paths->next());
    EXPECT_EQ(paths->current(), nullptr);
}

TEST_F(PathIteratorTest, Counting_LeavesTheIteratorWhereItIs) {
    Node* start = make("s");
    Node* end = makeDiamonds(start, 3);
    const auto paths = search(start, end);
    EXPECT_EQ(paths->count(), 8u);
    const String first = paths->current()->text();
    EXPECT_STREQ(first.buf(), "s/l/e/l/e/l/e");
    EXPECT_TRUE(paths->next());
    EXPECT_STREQ(paths->current()->text().buf(), "s/l/e/l/e/r/e");
    EXPECT_EQ(paths->count(), 8u);
}

TEST_F(PathIteratorTest, MorePathsThanCanBeCounted_AreTheGreatestCount) {
    Node* start = make("s");
    Node* end = makeDiamonds(start, 60);
    const auto paths = search(start, end);
    EXPECT_EQ(paths->count(), PathIterator::maxCount);
    EXPECT_NE(paths->current(), nullptr);
    EXPECT_TRUE(paths->next());
}

// A search that forgot its dead ends would try each of the 2^60 ways.
TEST_F(PathIteratorTest, UnreachableTarget_IsFoundOutAtOnce) {
    Node* start = make("s");
    makeDiamonds(start, 60);
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

TEST_F(PathIteratorTest, LongChain_IsFollowedToItsEnd) {
    Node* start = make("n");
    Node* last = start;
    for (int i = 0; i < 20'000; ++i) {
        Node* next = make("n");
        link(last, next);
        last = next;
    }
    tests::runOnSmallStack([&] {
        const auto paths = search(start, last, true);
        ASSERT_NE(paths->current(), nullptr);
        EXPECT_EQ(paths->current()->length(), 20'000u);
    });
}

// ---- Against a plain recursion -------------------------------------------------------------

using Graph = std::vector<std::vector<int>>;

void enumerate(const Graph& graph, int to, std::vector<int>& path, std::vector<std::string>& out) {
    for (const int next : graph[static_cast<std::size_t>(path.back())]) {
        if (std::ranges::find(path, next) != path.end()) continue;
        path.push_back(next);
        if (next == to || to < 0) {
            std::string text;
            for (const int node : path)
                text += (text.empty() ? "" : "/") + std::to_string(node);
            out.push_back(text);
        }
        if (next != to) enumerate(graph, to, path, out);
        path.pop_back();
    }
}

Graph randomGraph(unsigned seed, int size) {
    std::mt19937 random(seed);
    Graph graph(static_cast<std::size_t>(size));
    for (auto& followers : graph) {
        const auto count = random() % 4;
        std::set<int> used;
        for (unsigned i = 0; i < count; ++i) {
            const int next = static_cast<int>(random() % static_cast<unsigned>(size));
            if (used.insert(next).second) followers.push_back(next);
        }
    }
    return graph;
}

TEST_F(PathIteratorTest, RandomGraphs_GiveThePathsOfAPlainRecursionInItsOrder) {
    constexpr int kSize = 8;
    for (unsigned seed = 0; seed < 300; ++seed) {
        m_nodes.clear();
        const Graph graph = randomGraph(seed, kSize);
        for (int i = 0; i < kSize; ++i)
            make(std::to_string(i));
        for (std::size_t i = 0; i < graph.size(); ++i) {
            for (const int next : graph[i])
                link(m_nodes[i].get(), m_nodes[static_cast<std::size_t>(next)].get());
        }
        for (const int to : {-1, 3}) {
            std::vector<int> path{0};
            std::vector<std::string> expected, actual;
            enumerate(graph, to, path, expected);
            const auto paths = RefersTo<PathIterator>::adopt(
                to < 0 ? new PathIterator(m_nodes[0].get(), StringVector(), false, false)
                       : new PathIterator(m_nodes[0].get(), m_nodes[3].get(), false, false));
            while (const NodePath* found = paths->current()) {
                actual.emplace_back(found->text().buf());
                paths->next();
            }
            EXPECT_EQ(actual, expected) << "seed " << seed << " to " << to;
            EXPECT_EQ(paths->count(), expected.size());
        }
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
