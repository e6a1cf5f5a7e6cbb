#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/fetch_line.h"
#include "kelvo/base/name.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/index/ordered_slots.h"

#include <memory>
#include <unordered_map>
#include <utility>

namespace qv::kelvo_sdk::impl {

class Node;

/// The nodes of a scene in creation order, found in constant time by position and by name without
/// regard to case. Also has the compact graph, in which each node has a number. The pointers are
/// borrowed; the scene owns the references.
class NodeTable {
public:
    [[nodiscard]] u64 size() const noexcept { return m_order.size(); }
    [[nodiscard]] Node* find(const NameView& name) const noexcept;
    [[nodiscard]] Node* at(u64 index) const noexcept;

    /// Returns the position of the node of that name; `noIndex` when there is none.
    [[nodiscard]] u64 indexOf(const String& name) const noexcept;

    /// The entry and the number of a removed node, kept so that undo can restore them. Must not
    /// outlive the table.
    class Place;

    /// Adds a node at position `index`, or at the end when the index is out of range, under a name
    /// that is not in use. Returns the node's number.
    NodeNumber add(const String& name, Node* node, u64 index = noIndex);
    /// Adds a node at the place of a removed one. Allocates nothing if no node was added meanwhile.
    NodeNumber add(Place place, const String& name, Node* node, u64 index);
    /// Removes the node of that name and returns its place, empty when there is no such node.
    [[nodiscard]] Place take(const String& name) noexcept;
    /// Removes the node of that name and frees its number; returns the node, null when there is
    /// none.
    Node* remove(const String& name) noexcept;
    /// Needs a node of that name.
    void move(const String& name, u64 to);
    /// Needs a node of that name, and a new name that is not in use or differs in case only.
    void rename(const String& from, const String& to);

    /// Replaces the node of that name by another, which gets its name, place and number; returns
    /// the number.
    NodeNumber replace(const String& name, Node* node) noexcept;
    /// Returns a number that is lower for earlier nodes. Needs a node of that name.
    [[nodiscard]] u64 placeOf(const String& name) const {
        return m_order.placeOfSlot(m_byName.find(name)->second.slot);
    }

    /// From now on the follower is called for each change of the order; null for none.
    void follow(NodeTableFollower* follower);

    [[nodiscard]] CompactGraph& graph() noexcept { return m_graph; }
    [[nodiscard]] const CompactGraph& graph() const noexcept { return m_graph; }

    /// Returns `name` if it is not in use, else the next free name, which ends with a number.
    [[nodiscard]] String freeName(const String& name) const;

    /// Calls `visit(Node*)` in order, also for nodes that are added meanwhile; no node may be
    /// removed.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        forEach([](u64, u64, const auto&) {}, visit);
    }
    /// Also calls `fetch(i, count, nodeAt)` before each visit: `nodeAt(j)` is the node that will be
    /// visited in `j - i` steps, null for none; `j` is below `count`.
    template<typename Fetch, typename Visit>
    void forEach(const Fetch& fetch, const Visit& visit) const {
        const auto fetchAt = [&](u64 i, u64 count, const auto& entryAt) {
            constexpr u64 distance = 12;
            if (i + distance < count) fetchLine(entryAt(i + distance), 0);
            fetch(i, count, [&](u64 at) {
                const Entry* const entry = entryAt(at);
                return entry ? entry->node : nullptr;
            });
        };
        m_order.forEach(fetchAt, [&](const Entry* entry) { visit(entry->node); });
    }

    // The rest checks the table itself.

    [[nodiscard]] u64 nameCount() const noexcept { return m_byName.size(); }
    /// Tells whether the places of the nodes are counted correctly.
    [[nodiscard]] bool isOrderSound() const noexcept { return m_order.isSound(); }
    /// Calls `visit(name)` for each name that leads to a place where its node does not stand.
    template<typename Visit>
    void forEachMisplaced(const Visit& visit) const {
        for (const auto& [name, entry] : m_byName)
            if (m_order.inSlot(entry.slot) != &entry) visit(name);
    }

private:
    // Breaks laws on purpose; only tests define it.
    friend struct LawBreaker;

    struct Entry {
        Node* node;
        u64 slot = noIndex;
        NodeNumber number = noNumber;
    };
    struct FoldedHash {
        using is_transparent = void;
        // Not `noexcept`: the map then keeps each hash, and passes other names without reading
        // them.
        std::size_t operator()(const NameView& name) const { return name.foldedHash(); }
    };
    struct FoldedEqual {
        using is_transparent = void;
        bool operator()(const String& a, const String& b) const noexcept {
            return a.equalsNoCase(b);
        }
        bool operator()(const NameView& a, const String& b) const noexcept {
            return b.equalsNoCase(a.text());
        }
    };
    template<typename T>
    using ByName = std::unordered_map<String, T, FoldedHash, FoldedEqual>;

    [[nodiscard]] u64 place(Entry* entry, u64 index);
    void freeNumber(const String& name) noexcept;
    void tellInserted(u64 index, NodeNumber number) const noexcept;
    void tellRemoved(const Entry& entry) const noexcept;
    static void moved(Entry& entry, u64 slot) noexcept { entry.slot = slot; }
    [[nodiscard]] bool taken(const String& name) const { return m_byName.contains(name); }

    NodeTableFollower* m_follower = nullptr;
    CompactGraph m_graph;
    // The map never moves its entries, so the order can point to them.
    ByName<Entry> m_byName;
    OrderedSlots<Entry> m_order;
    // For each name without its number, a number below which none is free. Saves counting from 1.
    mutable ByName<u64> m_nextNumber;
};

class NodeTable::Place {
public:
    Place() = default;
    ~Place() {
        if (!m_entry.empty()) m_graph->release(m_entry.mapped().number);
    }
    Place(Place&& other) noexcept
        : m_graph(other.m_graph), m_entry(std::exchange(other.m_entry, {})) {}
    Place& operator=(Place&& other) noexcept {
        std::swap(m_graph, other.m_graph);
        std::swap(m_entry, other.m_entry);
        return *this;
    }

    [[nodiscard]] explicit operator bool() const noexcept { return !m_entry.empty(); }

private:
    friend class NodeTable;
    CompactGraph* m_graph = nullptr;
    ByName<Entry>::node_type m_entry;
};

} // namespace qv::kelvo_sdk::impl
