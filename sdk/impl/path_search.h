#pragma once

#include "base/string_vector.h"
#include "base/vector.h"
#include "sdk/interfaces/forward.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// What a search for paths looks for: one node, or nodes of any of some types (none: every node).
struct PathGoal {
    bool byType = false;
    const interfaces::INode* target = nullptr;
    StringVector types;

    [[nodiscard]] bool isMetBy(const interfaces::INode& node) const;
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
    using INode = interfaces::INode;

    // A node of the path, and what follows it.
    struct Step {
        INode* node;
        ds::Vector<INode*> followers;
        u64 index;
        bool led;
    };
    // A node from which the rest of the path cannot reach the goal is barred until one of those
    // that it leads to is freed.
    struct State {
        bool isOnPath = false;
        bool isBarred = false;
        std::vector<INode*> waiting;
    };

    void enter(INode* node);
    void leave();
    void free(INode* node);
    [[nodiscard]] ds::Vector<INode*> followersOf(INode* node) const;

    PathGoal m_goal;
    bool m_allLinks;
    std::vector<Step> m_steps;
    std::unordered_map<const INode*, State> m_states;
};

} // namespace qv::kelvo_sdk::impl
