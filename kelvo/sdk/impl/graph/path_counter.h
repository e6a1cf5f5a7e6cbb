#pragma once

#include "kelvo/sdk/impl/graph/path_space.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// A number of paths: the exact number or a lower bound.
struct PathCount {
    u64 number = 0;
    bool isExact = true;
};

/// Counts the paths from a node without walking each of them.
///
/// A path that has left a cycle cannot return to it. So the number for a node outside of cycles is
/// the sum of the numbers for its followers. Only paths within cycles are walked one by one, with
/// at most `maxSteps` links in total.
class PathCounter {
public:
    static constexpr u64 maxSteps = 4'000'000;

    /// Borrows the space.
    explicit PathCounter(PathSpace& space) : m_space(space) {}

    [[nodiscard]] PathCount count();

private:
    using Number = PathSpace::Number;

    // A node and the index of its next follower.
    struct Step {
        Number node;
        u64 next;
    };
    struct State {
        // The position in the order of the walk, from 1, and the earliest position of an open node
        // within reach.
        Number met = 0;
        Number earliest = 0;
        // The group of the nodes that lead to each other, from 1; 0 while unknown.
        Number group = 0;
        bool isInCycle = false;
        bool isOnPath = false;
        bool isCounted = false;
        // The number of paths that end here or leave the group with their next link.
        u64 leaving = 0;
        // The number of all paths from this node. Needs `isCounted`.
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

    PathSpace& m_space;
    // The followers of node `n` are those from `m_first[n]` up to `m_first[n + 1]`.
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
