#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/path_graph.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Finds the paths from a node to a goal one by one, depth first in input order. Between two paths
/// it looks at each link of the graph a bounded number of times, however many paths there are.
class PathSearch {
public:
    /// `allLinks` false: along "children" only.
    PathSearch(interfaces::INode* from, PathGoal goal, bool allLinks);

    /// Goes to the next path; false when there is none.
    bool next();
    /// Returns the nodes of the path, from the start to the goal. Needs a `next` that was true.
    [[nodiscard]] ds::Vector<interfaces::INode*> path() const;

private:
    // Nodes are known by their number in the graph, which is that of their state.
    using Number = PathGraph::Number;

    // A node of the path. What follows it stands at the end of `m_followers` while it is the last.
    struct Step {
        Number node;
        bool led;
        u64 first;
        u64 next;
    };
    // A node from which the rest of the path cannot reach the goal is barred until one of those
    // that it leads to is freed.
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

    PathGoal m_goal;
    // Until a first path is found nothing is freed, so that nobody need be known to wait.
    bool m_hasFound = false;
    bool m_remembersWaiting = false;
    PathGraph m_graph;
    std::vector<State> m_states;
    // Of each node, once that is remembered: those that were barred at some time and lead here.
    std::vector<std::vector<Number>> m_waiting;
    std::vector<Step> m_steps;
    std::vector<Number> m_followers;
};

} // namespace qv::kelvo_sdk::impl
