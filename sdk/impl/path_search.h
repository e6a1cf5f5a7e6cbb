#pragma once

#include "base/string_vector.h"
#include "base/vector.h"
#include "sdk/impl/node_marks.h"
#include "sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;
class Node;

/// What a search for paths looks for: one node, or nodes of any of some types (none: every node).
struct PathGoal {
    bool byType = false;
    const interfaces::INode* target = nullptr;
    StringVector types;

    [[nodiscard]] bool isMetBy(const Node& node) const;
};

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
    // Nodes are known by the number of their state.
    using Number = u32;

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
        Node* node;
        u64 listedBy;
        bool isOnPath;
        bool isBarred;
        bool isWaiting;
        // Those that were barred at some time and lead here.
        std::vector<Number> waiting;
    };

    void enter(Number node);
    void leave();
    void free(Number node);
    void waitForFollowers(Number node, u64 first);
    void rememberWaiting();
    void listFollowers(Number node);
    void addFollower(interfaces::INode* node);
    void addLinked(const Input& input);
    [[nodiscard]] Number numberOf(interfaces::INode* node);

    PathGoal m_goal;
    bool m_allLinks;
    // Until a first path is found nothing is freed, so that nobody need be known to wait.
    bool m_hasFound = false;
    bool m_remembersWaiting = false;
    u64 m_listings = 0;
    NodeMarks m_numbers;
    std::vector<State> m_states;
    std::vector<Step> m_steps;
    std::vector<Number> m_followers;
    std::vector<const Input*> m_inputsLeft;
};

} // namespace qv::kelvo_sdk::impl
