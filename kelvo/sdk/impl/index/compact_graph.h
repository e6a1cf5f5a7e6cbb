#pragma once

#include "kelvo/base/types.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;

/// The number of a node in its scene. It stays with the node's place in the scene through renaming,
/// conversion, removal and undo, and goes to another only when nobody can bring that place back.
using NodeNumber = u32;
inline constexpr NodeNumber noNumber = 0xffffffff;

/// A way from one node to another.
struct Lead {
    Lead() = default;
    Lead(NodeNumber number, bool byConnection) noexcept
        : to(number & 0x7fffffff), isConnection(byConnection) {}

    u32 to : 31 = 0;
    u32 isConnection : 1 = 0;
    bool operator==(const Lead&) const = default;
};

/// The leads of one kind from one node, in order. Those of most nodes stand in the row itself.
class LeadRow {
public:
    [[nodiscard]] const Lead* begin() const noexcept {
        return m_capacity > fewLeads ? m_many : m_few;
    }
    [[nodiscard]] const Lead* end() const noexcept { return begin() + m_count; }
    [[nodiscard]] u32 size() const noexcept { return m_count; }

private:
    friend class CompactGraph;
    static constexpr u32 fewLeads = 2;
    static constexpr u32 unknown = 0xffffffff;

    u32 m_count = unknown;
    u32 m_capacity = fewLeads;
    union {
        Lead m_few[fewLeads] = {};
        Lead* m_many;
    };
};

/// Holds where each node of a scene leads, number by number in contiguous memory, so that walks
/// need not look at the many nodes that they pass, which are large and far apart.
///
/// A row is filled in by the first walk that asks for it and dropped by whatever changes it, in
/// constant time and without memory. So nothing fails in the middle of an edit, a change costs no
/// more than the rows that it makes unknown, and a scene that nobody walks pays for no rows. Walks
/// on several threads may fill rows in under the lock; all else is for the thread that edits.
class CompactGraph {
public:
    enum class Kind : u8 {
        /// To what the inputs of a node link and connect to, at any depth, in order.
        Dependencies,
        /// To the nodes whose inputs link here, then to those connected to its outputs, in order.
        Readers,
        /// To what the list "children" of a transform links to.
        Children,
    };
    static constexpr u64 kinds = 3;
    static constexpr Kind allKinds[kinds] = {Kind::Dependencies, Kind::Readers, Kind::Children};

    CompactGraph() = default;
    ~CompactGraph();
    CompactGraph(const CompactGraph&) = delete;
    CompactGraph& operator=(const CompactGraph&) = delete;

    // ---- Numbers ---------------------------------------------------------------------------

    /// Returns a number that nobody has, with no node yet.
    [[nodiscard]] NodeNumber claim();
    /// The number may be given away again. Needs one without a node.
    void release(NodeNumber number) noexcept;
    /// The node has the number from now on; null: its place is kept. Nothing is known of it.
    void place(NodeNumber number, Node* node) noexcept;
    /// Returns null for a number without a node.
    [[nodiscard]] Node* node(NodeNumber number) const noexcept {
        return number < m_nodes.size() ? m_nodes[number] : nullptr;
    }
    /// All numbers are below this one.
    [[nodiscard]] NodeNumber end() const noexcept {
        return static_cast<NodeNumber>(m_nodes.size());
    }

    // ---- Rows ------------------------------------------------------------------------------

    /// Returns null while the row is not known.
    [[nodiscard]] const LeadRow* row(Kind kind, NodeNumber number) const noexcept {
        const LeadRow& row = m_rows[static_cast<u64>(kind)][number];
        return countOf(row).load(std::memory_order_acquire) != LeadRow::unknown ? &row : nullptr;
    }
    /// Sets a row that is not known. Under the lock.
    const LeadRow& fill(Kind kind, NodeNumber number, const std::vector<Lead>& leads);
    /// The row is not known any more.
    void drop(Kind kind, NodeNumber number) noexcept {
        m_rows[static_cast<u64>(kind)][number].m_count = LeadRow::unknown;
    }
    [[nodiscard]] std::mutex& mutex() const noexcept { return m_mutex; }

    // ---- Trust -----------------------------------------------------------------------------

    /// The graph was found to disagree with the nodes: from now on walks go by these.
    void distrust() const noexcept { m_isTrusted.store(false, std::memory_order_relaxed); }
    [[nodiscard]] bool isTrusted() const noexcept {
        return m_isTrusted.load(std::memory_order_relaxed);
    }

    // ---- Marks -----------------------------------------------------------------------------

    class Marks;

private:
    struct MarkRoom;

    [[nodiscard]] static std::atomic_ref<u32> countOf(const LeadRow& row) noexcept {
        return std::atomic_ref<u32>(const_cast<u32&>(row.m_count));
    }
    static void makeRoom(LeadRow& row, u64 count);
    static void freeRoom(LeadRow& row) noexcept;

    std::vector<Node*> m_nodes;
    std::array<std::vector<LeadRow>, kinds> m_rows;
    // Has room for all numbers.
    std::vector<NodeNumber> m_free;
    mutable std::mutex m_mutex;
    mutable std::atomic<bool> m_isTrusted = true;
    // Left by the last walk for the next; null while there is none or a walk has it.
    mutable std::atomic<MarkRoom*> m_spareRoom = nullptr;
};

/// Marks on numbers for the time of one walk. To begin costs nothing in proportion to the graph,
/// but for the first walk on each of several threads.
class CompactGraph::Marks {
public:
    explicit Marks(const CompactGraph& graph);
    ~Marks();
    Marks(const Marks&) = delete;
    Marks& operator=(const Marks&) = delete;

    struct Added {
        i32& value;
        bool isNew;
    };
    /// Marks the number with `value`, unless it has a mark already.
    Added add(NodeNumber number, i32 value) noexcept;

private:
    const CompactGraph& m_graph;
    std::unique_ptr<MarkRoom> m_room;
};

struct CompactGraph::MarkRoom {
    struct Mark {
        u32 walk = 0;
        i32 value = 0;
    };
    std::vector<Mark> marks;
    // Marks of other walks do not count.
    u32 walk = 0;
};

inline CompactGraph::Marks::Added CompactGraph::Marks::add(NodeNumber number, i32 value) noexcept {
    MarkRoom::Mark& mark = m_room->marks[number];
    const bool isNew = mark.walk != m_room->walk;
    if (isNew) mark = {m_room->walk, value};
    return {mark.value, isNew};
}

} // namespace qv::kelvo_sdk::impl
