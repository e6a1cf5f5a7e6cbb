#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

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
    PathGraph(const INode* target, bool allLinks)
        : m_target(target), m_kind(allLinks ? LeadKind::Dependencies : LeadKind::Children) {}

    /// The first that is asked for is the start.
    [[nodiscard]] Number numberOf(INode* node);
    [[nodiscard]] Node& node(Number number) const noexcept {
        return m_reader.nodeAt(m_spots[number]);
    }
    /// Returns how many nodes have a number.
    [[nodiscard]] u64 size() const noexcept { return m_spots.size(); }
    /// Appends the nodes that a node leads to, in input order, each once.
    void listFollowers(Number number, std::vector<Number>& out);

private:
    [[nodiscard]] Number numberOf(Spot spot);
    [[nodiscard]] Number& placeOf(Spot spot);

    static constexpr u64 pageSize = 1024;
    using Page = std::array<Number, pageSize>;

    GraphReader m_reader{nullptr};
    const INode* m_target;
    LeadKind m_kind;
    u64 m_listings = 0;
    // By number in the scene, one more than the number here; pages without nodes that were met are
    // null.
    std::vector<std::unique_ptr<Page>> m_pages;
    std::unordered_map<const Node*, Number> m_others;
    std::vector<Spot> m_spots;
    std::vector<u64> m_listedBy;
};

} // namespace qv::kelvo_sdk::impl
