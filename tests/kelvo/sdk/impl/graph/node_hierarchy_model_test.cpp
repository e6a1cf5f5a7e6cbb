#include "tests/support/node_graph.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::NodeGraph;

// ---- Against a plain recursion -------------------------------------------------------------

constexpr int kEmpty = -1;

// A hierarchy as numbers: the links of each node's list, and whether the walk enters the node.
struct Model {
    std::vector<std::vector<int>> lists;
    std::vector<bool> isXform;

    // Remembers only the result, so that without a limit it needs a graph without cycles.
    void collect(int node, i64 depth, i64 maxDepth, std::vector<int>& out) const {
        if (maxDepth >= 0 && depth > maxDepth) return;
        for (const int child : lists[static_cast<std::size_t>(node)]) {
            if (child == kEmpty) continue;
            if (std::ranges::find(out, child) == out.end()) out.push_back(child);
            if (isXform[static_cast<std::size_t>(child)]) collect(child, depth + 1, maxDepth, out);
        }
    }
};

class NodeHierarchyModel : public testing::Test {
protected:
    static constexpr int kSize = 9;

    unsigned random(unsigned below) { return static_cast<unsigned>(m_random() % below); }

    // Returns a random element: usually a node after `from`, or any node if cycles are wanted.
    int element(int from, bool cycles) {
        if (random(8) == 0) return kEmpty;
        const int low = cycles ? 0 : from + 1;
        return low < kSize ? low + static_cast<int>(random(static_cast<unsigned>(kSize - low)))
                           : kEmpty;
    }

    void build(unsigned seed, bool cycles) {
        m_random.seed(seed);
        m_graph.clear();
        m_model = {std::vector<std::vector<int>>(kSize), std::vector<bool>(kSize)};
        for (int i = 0; i < kSize; ++i) {
            const unsigned kind = random(6);
            m_model.isXform[static_cast<std::size_t>(i)] = i == 0 || kind != 0;
            Node* node = m_graph.add(std::to_string(i), i != 0 && kind < 2 ? "other" : "xform");
            if (kind == 1) node->setBases({"base", "xform"}, false, false);
        }
        for (int i = 0; i < kSize; ++i) {
            for (unsigned count = random(5); count > 0; --count)
                append(i, element(i, cycles));
        }
    }

    void append(int parent, int child) {
        m_model.lists[static_cast<std::size_t>(parent)].push_back(child);
        NodeGraph::link(at(parent), child == kEmpty ? nullptr : at(child));
    }
    [[nodiscard]] Node* at(int index) const { return m_graph[static_cast<std::size_t>(index)]; }

    [[nodiscard]] std::string expected(i64 maxDepth) const {
        std::vector<int> found;
        m_model.collect(0, 0, maxDepth, found);
        std::string names;
        for (const int node : found)
            names += std::to_string(node);
        return names;
    }

    std::mt19937 m_random;
    NodeGraph m_graph;
    Model m_model;
};

TEST_F(NodeHierarchyModel, WithoutCycles_AnyLimitGivesTheNodesOfAPlainRecursionInItsOrder) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed, false);
        for (i64 depth = -1; depth <= kSize; ++depth)
            EXPECT_EQ(NodeGraph::children(at(0), depth), expected(depth))
                << "seed " << seed << " depth " << depth;
    }
}

TEST_F(NodeHierarchyModel, WithCycles_ALimitGivesTheNodesOfAPlainRecursionInItsOrder) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed, true);
        for (i64 depth = 0; depth <= 7; ++depth)
            EXPECT_EQ(NodeGraph::children(at(0), depth), expected(depth))
                << "seed " << seed << " depth " << depth;
    }
}

// Every reachable node is reached by a path that repeats no node, so that a limit finds it too.
TEST_F(NodeHierarchyModel, WithCyclesAndWithoutALimit_EveryNodeThatIsReachedIsListedOnce) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed, true);
        std::string found = NodeGraph::children(at(0), -1), reached = expected(kSize - 1);
        std::ranges::sort(found);
        std::ranges::sort(reached);
        EXPECT_EQ(found, reached) << "seed " << seed;
    }
}

TEST_F(NodeHierarchyModel, GetChildren_GoesOnWithTheListAndDepthThatItIsGiven) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        build(seed, true);
        const i64 depth = static_cast<i64>(random(4)) - 1;
        const i64 limit = static_cast<i64>(random(5));
        std::vector<int> expectedNodes;
        ds::Vector<INode*> out;
        for (const int given : {5, 2, 5}) {
            expectedNodes.push_back(given);
            out.push_back(at(given));
        }
        m_model.collect(0, depth, limit, expectedNodes);
        getChildren(at(0)->findInputByName("children"), depth, limit, out);
        ASSERT_EQ(out.size(), expectedNodes.size()) << "seed " << seed;
        for (u64 i = 0; i < out.size(); ++i)
            EXPECT_EQ(out[i], at(expectedNodes[i])) << "seed " << seed << " at " << i;
    }
}

// ---- Large hierarchies ---------------------------------------------------------------------

class GreatHierarchy : public testing::Test {
protected:
    static constexpr int kFew = 10'000;
    static constexpr int kMany = 100'000;

    void addFlat(Node* root, int count) {
        for (int i = 0; i < count; ++i)
            NodeGraph::link(root, m_graph.add("n"));
    }
    [[nodiscard]] static u64 countChildren(const Node* root, i64 depth) {
        return RefersTo<NodeIterator>::adopt(root->children(depth))->count();
    }

    NodeGraph m_graph;
};

TEST_F(GreatHierarchy, ManyChildrenOfOneParent_AreAllFound) {
    Node* root = m_graph.add("root");
    addFlat(root, kMany);
    EXPECT_EQ(countChildren(root, 0), static_cast<u64>(kMany));
    EXPECT_EQ(countChildren(root, -1), static_cast<u64>(kMany));
}

TEST_F(GreatHierarchy, LongChain_TakesNoStack) {
    Node* root = m_graph.add("root");
    m_graph.addChain(root, kMany);
    tests::runOnSmallStack([&] {
        EXPECT_EQ(countChildren(root, -1), static_cast<u64>(kMany));
        EXPECT_EQ(countChildren(root, kMany), static_cast<u64>(kMany));
        EXPECT_EQ(countChildren(root, kFew - 1), static_cast<u64>(kFew));
    });
}

TEST_F(GreatHierarchy, LongCycle_EndsWithoutALimit) {
    Node* root = m_graph.add("root");
    NodeGraph::link(m_graph.addChain(root, kFew), root);
    tests::runOnSmallStack([&] {
        EXPECT_EQ(countChildren(root, -1), static_cast<u64>(kFew) + 1);
        EXPECT_EQ(countChildren(root, 3 * kFew), static_cast<u64>(kFew) + 1);
    });
}

// A walk that entered a node each time it reaches it would take 2^64 steps.
TEST_F(GreatHierarchy, SharedChildren_AreWalkedOnce) {
    Node* root = m_graph.add("root");
    m_graph.addDiamonds(root, 64);
    EXPECT_EQ(countChildren(root, -1), 3u * 64);
    EXPECT_EQ(countChildren(root, 1000), 3u * 64);
    EXPECT_EQ(countChildren(root, 63), 3u * 32);
}

// Every node links to every node, including itself.
TEST_F(GreatHierarchy, AllLinkedToAll_EndWithAndWithoutALimit) {
    constexpr int kSize = 30;
    for (int i = 0; i < kSize; ++i)
        m_graph.add("n");
    for (std::size_t i = 0; i < kSize; ++i) {
        for (std::size_t k = 0; k < kSize; ++k)
            NodeGraph::link(m_graph[i], m_graph[k]);
    }
    EXPECT_EQ(countChildren(m_graph[0], -1), static_cast<u64>(kSize));
    EXPECT_EQ(countChildren(m_graph[0], 100), static_cast<u64>(kSize));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
