#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/path_space.h"

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The goal of a search for paths: one node, or the nodes of any of some types (without types,
/// every node).
struct PathGoal {
    bool byType = false;
    const interfaces::INode* target = nullptr;
    StringVector types;

    [[nodiscard]] bool isMetBy(const Node& node) const;
};

/// The nodes that paths may go through, numbered in the order in which they are reached, and the
/// followers of each.
class PathGraph {
public:
    using Number = PathSpace::Number;

    /// Follows all links and connections or, with `allLinks` false, "children" only. No path
    /// continues after `target`, which may be null.
    PathGraph(const INode* target, bool allLinks)
        : m_target(target), m_kind(allLinks ? LeadKind::Dependencies : LeadKind::Children) {}

    /// Returns the number of a node. The first call must be for the start.
    [[nodiscard]] Number numberOf(INode* node);
    [[nodiscard]] Node& node(Number number) const noexcept { return *m_known[number].node; }
    /// Returns how many nodes have a number.
    [[nodiscard]] u64 size() const noexcept { return m_known.size(); }
    /// Appends the followers of a node, which are the nodes that it leads to, in the order of the
    /// inputs, each once.
    void listFollowers(Number number, std::vector<Number>& out);

private:
    [[nodiscard]] Number numberOf(Spot spot);
    [[nodiscard]] Number& placeOf(Spot spot);

    // A node with a number. Has the pointer as well, because a search for many paths asks for the
    // same nodes again and again.
    struct Known {
        Spot spot;
        Node* node;
        // The last call of `listFollowers` that listed it.
        u64 listing = 0;
    };

    static constexpr u64 pageSize = 1024;
    using Page = std::array<Number, pageSize>;

    GraphReader m_reader{nullptr};
    const INode* m_target;
    LeadKind m_kind;
    u64 m_listings = 0;
    // Maps numbers in the scene to numbers here plus 1, 0 for none; pages without entries are null.
    std::vector<std::unique_ptr<Page>> m_pages;
    std::unordered_map<const Node*, Number> m_others;
    std::vector<Known> m_known;
};

/// The paths of live nodes from a start to a goal.
class GoalGraph final : public PathSpace {
public:
    /// Follows all links and connections or, with `allLinks` false, "children" only.
    GoalGraph(INode* from, PathGoal goal, bool allLinks);

    [[nodiscard]] INode* node(Number number) const noexcept { return &m_graph.node(number); }
    [[nodiscard]] u64 size() const noexcept override { return m_graph.size(); }
    void listFollowers(Number number, std::vector<Number>& out) override {
        m_graph.listFollowers(number, out);
    }
    [[nodiscard]] bool isGoal(Number number) const override {
        return m_goal.isMetBy(m_graph.node(number));
    }

private:
    PathGoal m_goal;
    PathGraph m_graph;
};

} // namespace qv::kelvo_sdk::impl
