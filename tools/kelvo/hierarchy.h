#pragma once

#include "kelvo/sdk/snapshot.h"

#include <span>
#include <vector>

namespace qv::kelvo_tool {

/// The hierarchy in the "children" inputs of a snapshot's nodes.
class Hierarchy {
public:
    using Number = kelvo_sdk::NodeNumber;

    /// Some of the nodes, in creation order, with the children of each.
    class Part {
    public:
        void add(const kelvo_sdk::SnapshotNode& node);

    private:
        friend class Hierarchy;
        [[nodiscard]] std::span<const Number> childrenOf(u64 index) const noexcept {
            const u64 begin = index == 0 ? 0 : m_ends[index - 1];
            return std::span(m_children).subspan(begin, m_ends[index] - begin);
        }

        std::vector<Number> m_numbers;
        // For each node the end of its children in the list.
        std::vector<u64> m_ends;
        std::vector<Number> m_children;
        // Above all numbers.
        Number m_end = 0;
    };

    explicit Hierarchy(const kelvo_sdk::Snapshot& scene);
    /// The parts have all nodes in creation order.
    explicit Hierarchy(std::vector<Part> parts);

    /// Returns the nodes that are nobody's child and, for nodes only reachable through a cycle, the
    /// first of that cycle. Every node can be reached from these.
    [[nodiscard]] const std::vector<Number>& roots() const noexcept { return m_roots; }
    /// Returns the children of a node in order, without the empty elements.
    [[nodiscard]] std::span<const Number> childrenOf(Number node) const noexcept;
    /// Returns the number of places that list the node as a child.
    [[nodiscard]] u64 timesListed(Number node) const noexcept { return m_entries[node].listed; }
    /// Returns the number of nodes on the longest path from a root down; 0 without nodes.
    [[nodiscard]] u64 levels() const noexcept { return m_levels; }

private:
    enum class State : u8 { New, Open, Done };
    // The children of a node are a range of `m_children`.
    struct Entry {
        u32 begin = 0;
        u32 end = 0;
        u32 levels = 0;
        u32 listed = 0;
        State state = State::New;
    };
    struct Step {
        Number node;
        u32 next;
    };

    void addChildren(Number number, std::span<const Number> children);
    void walk(Number root);
    void enter(Number node);
    void leave();

    // By number.
    std::vector<Entry> m_entries;
    std::vector<Number> m_children;
    std::vector<Number> m_roots;
    // From a root down, during a walk.
    std::vector<Step> m_way;
    u64 m_levels = 0;
};

} // namespace qv::kelvo_tool
