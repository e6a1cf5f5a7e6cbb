#pragma once

#include "kelvo/sdk/impl/graph/path_space.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Finds the paths from a node to a goal one by one, depth first in the order of the inputs.
/// Between two paths, it visits each link of the graph a bounded number of times, regardless of the
/// number of paths.
class PathSearch {
public:
    /// The number of a node in the space, which is also the index of its state.
    using Number = PathSpace::Number;

    /// Borrows the space.
    explicit PathSearch(PathSpace& space);

    /// Advances to the next path; false when there is none.
    bool next();
    /// Returns how many nodes the path has, with the start and the goal. Needs a `next` that was
    /// true.
    [[nodiscard]] u64 length() const noexcept { return m_steps.size(); }
    /// Returns a node of the path; the start has the index 0.
    [[nodiscard]] Number at(u64 index) const noexcept { return m_steps[index].node; }

private:
    // A node of the path. While it is the last step, its followers are at the end of `m_followers`.
    struct Step {
        Number node;
        bool led;
        u64 first;
        u64 next;
    };
    // A node from which the path cannot reach the goal is barred until one of its followers is
    // freed.
    struct State {
        bool isOnPath = false;
        bool isBarred = false;
        bool isWaiting = false;
    };

    void enter(Number node);
    void leave();
    void free(Number node);
    void waitForFollowers(Number node, u64 first);
    void rememberWaiting();
    void listFollowers(Number node);

    PathSpace& m_space;
    // No node is freed before the first path is found, so waiting nodes are recorded only then.
    bool m_hasFound = false;
    bool m_remembersWaiting = false;
    std::vector<State> m_states;
    // For each node, the nodes that lead to it and were barred at some time; empty before the first
    // path is found.
    std::vector<std::vector<Number>> m_waiting;
    std::vector<Step> m_steps;
    std::vector<Number> m_followers;
};

} // namespace qv::kelvo_sdk::impl
