#pragma once

#include "kelvo/sdk/impl/graph/path_graph.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// A number of paths: the exact one, or one that there are at least.
struct PathCount {
    u64 number = 0;
    bool isExact = true;
};

/// Counts the paths from a node without walking each of them.
///
/// A path that has left a cycle does not come back to it. So the paths from a node that is in no
/// cycle are the sum of those from the nodes that it leads to; only those within cycles are walked
/// one by one, as far as `maxSteps` links go for all of them together.
class PathCounter {
public:
    static constexpr u64 maxSteps = 4'000'000;

    PathCounter(interfaces::INode* from, PathGoal goal, bool allLinks);

    [[nodiscard]] PathCount count();

private:
    using Number = PathGraph::Number;

    // A node, and which of its followers is next.
    struct Step {
        Number node;
        u64 next;
    };
    struct State {
        // In the order of the walk, from 1; the earliest that it leads back to.
        Number met = 0;
        Number earliest = 0;
        // The nodes that lead to each other share one, from 1; 0 while it is not known.
        Number group = 0;
        bool isInCycle = false;
        bool isOnPath = false;
        bool isCounted = false;
        // Paths from here that go on outside of the group, or end here.
        u64 leaving = 0;
        // All paths from here. Needs `isCounted`.
        u64 paths = 0;
    };

    void listAll();
    void groupAll();
    void meet(Number node);
    void closeGroup(Number first);
    void sumLeaving(Number node);
    [[nodiscard]] u64 pathsFrom(Number node);
    void walkGroup(Number from);
    void enter(Number node, u64& paths);
    void add(u64& sum, u64 number) noexcept;
    [[nodiscard]] bool isWithin(Number from, Number to) const noexcept;

    PathGoal m_goal;
    PathGraph m_graph;
    // The followers of a node stand from its first to that of the next.
    std::vector<u64> m_first;
    std::vector<Number> m_followers;
    std::vector<State> m_states;
    std::vector<Step> m_steps;
    std::vector<Step> m_walk;
    std::vector<Number> m_open;
    Number m_met = 0;
    Number m_groups = 0;
    u64 m_stepsLeft = maxSteps;
    bool m_isExact = true;
};

} // namespace qv::kelvo_sdk::impl
