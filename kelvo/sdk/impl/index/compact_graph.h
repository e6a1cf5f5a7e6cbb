#pragma once

#include "kelvo/base/types.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class NodeTableFollower;

/// The number of a node in its scene. It belongs to the node's place in the scene through renaming,
/// conversion, removal and undo, and is reused only when that place cannot be restored any more.
using NodeNumber = u32;
inline constexpr NodeNumber noNumber = 0xffffffff;

/// A step of a walk from one node to another, through a link or a connection.
struct Lead {
    Lead() = default;
    Lead(NodeNumber number, bool byConnection) noexcept
        : to(number & 0x7fffffff), isConnection(byConnection) {}

    u32 to : 31 = 0;
    u32 isConnection : 1 = 0;
    bool operator==(const Lead&) const = default;
};

/// The leads of one kind from one node, in order. A row with few leads needs no allocation.
class LeadRow {
public:
    [[nodiscard]] const Lead* begin() const noexcept {
        return hasMany() ? m_many.leads : m_few.leads;
    }
    [[nodiscard]] const Lead* end() const noexcept { return begin() + size(); }
    [[nodiscard]] u32 size() const noexcept { return m_few.state & ~(many | unknown); }

private:
    friend class CompactGraph;
    static constexpr u32 fewLeads = 3;
    // Bits of the state; the others are the count.
    static constexpr u32 unknown = 1u << 31;
    static constexpr u32 many = 1u << 30;

    [[nodiscard]] bool hasMany() const noexcept { return (m_few.state & many) != 0; }
    [[nodiscard]] u32 capacity() const noexcept { return hasMany() ? m_many.capacity : fewLeads; }

    struct Few {
        u32 state = unknown;
        Lead leads[fewLeads];
    };
    struct Many {
        u32 state;
        u32 capacity;
        Lead* leads;
    };
    // Both begin with the state, which may be read from either.
    union {
        Few m_few = {};
        Many m_many;
    };
};

/// The leads of all nodes of a scene, by number in contiguous memory. Walks need not read the nodes
/// themselves, which are large and far apart.
///
/// The first walk that needs a row fills it in. A change drops the rows that it makes wrong, in
/// constant time and without allocations, so that it cannot fail in the middle of an edit. A scene
/// without walks has no rows. Walks on several threads may fill rows in under the lock; everything
/// else is for the editing thread.
class CompactGraph {
public:
    enum class Kind : u8 {
        /// Lead to the nodes that inputs of the node, at any depth, link and connect to, in order.
        Dependencies,
        /// Lead to the nodes with inputs that link to the node, then to the nodes with inputs that
        /// are connected to its outputs, in order.
        Readers,
        /// Lead to the nodes that the list "children" of an "xform" links to.
        Children,
    };
    static constexpr u64 kinds = 3;
    static constexpr Kind allKinds[kinds] = {Kind::Dependencies, Kind::Readers, Kind::Children};

    CompactGraph() = default;
    ~CompactGraph();
    CompactGraph(const CompactGraph&) = delete;
    CompactGraph& operator=(const CompactGraph&) = delete;

    // ---- Numbers ---------------------------------------------------------------------------

    /// Returns a free number, with no node yet.
    [[nodiscard]] NodeNumber claim();
    /// Frees a number, which must be without a node. It can be claimed as soon as no use of it is
    /// left.
    void release(NodeNumber number) noexcept;
    /// From now on the follower tells which uses of numbers are left; null for none.
    void follow(const NodeTableFollower* follower) {
        if (follower) m_used.reserve(m_free.capacity());
        m_follower = follower;
    }
    /// Gives the number to a node and drops its rows; with null, keeps the number for later.
    void place(NodeNumber number, Node* node) noexcept;
    /// Returns null for a number without a node.
    [[nodiscard]] Node* node(NodeNumber number) const noexcept {
        return number < m_nodes.size() ? m_nodes[number] : nullptr;
    }
    /// Returns a number above all others.
    [[nodiscard]] NodeNumber end() const noexcept {
        return static_cast<NodeNumber>(m_nodes.size());
    }

    // ---- Rows ------------------------------------------------------------------------------

    /// Returns null while the row is not filled in.
    [[nodiscard]] const LeadRow* row(Kind kind, NodeNumber number) const noexcept {
        const LeadRow& row = m_rows[static_cast<u64>(kind)][number];
        const u32 state = stateOf(row).load(std::memory_order_acquire);
        return (state & LeadRow::unknown) == 0 ? &row : nullptr;
    }
    /// Fills a row in. Call under the lock, for a row that is not filled in.
    const LeadRow& fill(Kind kind, NodeNumber number, const std::vector<Lead>& leads);
    /// Makes a row unknown, so that the next walk fills it in again.
    void drop(Kind kind, NodeNumber number) noexcept {
        m_rows[static_cast<u64>(kind)][number].m_few.state |= LeadRow::unknown;
    }
    [[nodiscard]] std::mutex& mutex() const noexcept { return m_mutex; }

    // ---- Trust -----------------------------------------------------------------------------

    /// Call when the graph disagrees with the nodes: from now on walks read the nodes.
    void distrust() const noexcept { m_isTrusted.store(false, std::memory_order_relaxed); }
    [[nodiscard]] bool isTrusted() const noexcept {
        return m_isTrusted.load(std::memory_order_relaxed);
    }

    // ---- Marks -----------------------------------------------------------------------------

    class Marks;

private:
    struct MarkRoom;

    [[nodiscard]] static std::atomic_ref<u32> stateOf(const LeadRow& row) noexcept {
        return std::atomic_ref<u32>(const_cast<u32&>(row.m_few.state));
    }
    static void makeRoom(LeadRow& row, u64 count);
    static void freeRoom(LeadRow& row) noexcept;

    // A number that is free as soon as no use before `nextUse` is left.
    struct Used {
        NodeNumber number;
        u64 nextUse;
    };
    [[nodiscard]] bool findUnused() noexcept;

    const NodeTableFollower* m_follower = nullptr;
    std::vector<Node*> m_nodes;
    std::array<std::vector<LeadRow>, kinds> m_rows;
    // Both have capacity for all numbers, so that `release` needs no memory. The second is in order
    // of release, and empty without a follower.
    std::vector<NodeNumber> m_free;
    std::vector<Used> m_used;
    mutable std::mutex m_mutex;
    mutable std::atomic<bool> m_isTrusted = true;
    // Memory that the last walk leaves to the next; null while there is none or a walk uses it.
    mutable std::atomic<MarkRoom*> m_spareRoom = nullptr;
};

/// Marks on numbers during one walk. Starts in constant time, because walks reuse their memory,
/// except for the first walk and for walks on several threads at once.
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
    /// Marks the number with `value` unless it has a mark, and returns its mark.
    Added add(NodeNumber number, i32 value) noexcept;
    /// Returns an empty list for the nodes that the walk finds, with the memory of earlier walks.
    [[nodiscard]] std::vector<Node*>& found() noexcept;

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
    std::vector<Node*> found;
    // The number of this walk; marks of other walks do not count.
    u32 walk = 0;
};

inline CompactGraph::Marks::Added CompactGraph::Marks::add(NodeNumber number, i32 value) noexcept {
    MarkRoom::Mark& mark = m_room->marks[number];
    const bool isNew = mark.walk != m_room->walk;
    if (isNew) mark = {m_room->walk, value};
    return {mark.value, isNew};
}

inline std::vector<Node*>& CompactGraph::Marks::found() noexcept {
    return m_room->found;
}

} // namespace qv::kelvo_sdk::impl
