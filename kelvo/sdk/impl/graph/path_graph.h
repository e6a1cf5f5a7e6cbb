#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/impl/index/node_marks.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;
class Node;

/// The goal of a search for paths: one node, or nodes of any of some types (none: every node).
struct PathGoal {
    bool byType = false;
    const interfaces::INode* target = nullptr;
    StringVector types;

    [[nodiscard]] bool isMetBy(const Node& node) const;
};

/// The nodes that paths may go through, numbered as they are met, and what each of them leads to.
class PathGraph {
public:
    using Number = u32;

    /// `allLinks` false: along "children" only. Nothing leads on from `target`, which may be null.
    PathGraph(const interfaces::INode* target, bool allLinks)
        : m_target(target), m_allLinks(allLinks) {}

    [[nodiscard]] Number numberOf(interfaces::INode* node);
    [[nodiscard]] Node& node(Number number) const noexcept { return *m_nodes[number]; }
    /// Returns how many nodes have a number.
    [[nodiscard]] u64 size() const noexcept { return m_nodes.size(); }
    /// Appends the nodes that a node leads to, in input order, each once.
    void listFollowers(Number number, std::vector<Number>& out);

private:
    void addFollower(interfaces::INode* node, std::vector<Number>& out);
    void addLinked(const Input& input, std::vector<Number>& out);

    const interfaces::INode* m_target;
    bool m_allLinks;
    u64 m_listings = 0;
    NodeMarks m_numbers;
    std::vector<Node*> m_nodes;
    std::vector<u64> m_listedBy;
    std::vector<const Input*> m_inputsLeft;
};

} // namespace qv::kelvo_sdk::impl
