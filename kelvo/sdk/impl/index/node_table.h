#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/index/ordered_slots.h"

#include <memory>
#include <unordered_map>
#include <utility>

namespace qv::kelvo_sdk::impl {

class Node;

/// The nodes of a scene in creation order, by position and by name without regard to case, each in
/// constant time; and the compact graph, in which each has a number. Holds pointers only; the scene
/// keeps the references.
class NodeTable {
public:
    [[nodiscard]] u64 size() const noexcept { return m_order.size(); }
    [[nodiscard]] Node* find(const String& name) const noexcept;
    [[nodiscard]] Node* at(u64 index) const noexcept;

    /// Returns the position of the node of that name; `noIndex` when there is none.
    [[nodiscard]] u64 indexOf(const String& name) const noexcept;

    /// The memory of a node's entry and its number, kept for its way back while it is out. Must not
    /// outlive the table.
    class Place;

    /// Needs a name that is free. In front of the index-th, at the end when there is none. Returns
    /// the node's number.
    NodeNumber add(const String& name, Node* node, u64 index = noIndex);
    /// The same with the place that the node left. Takes no memory if nothing came in meanwhile.
    NodeNumber add(Place place, const String& name, Node* node, u64 index);
    /// Takes the node of that name out; its place is empty when there is none.
    [[nodiscard]] Place take(const String& name) noexcept;
    /// The same for good: returns the node, null if none.
    Node* remove(const String& name) noexcept;
    /// Needs a node of that name.
    void move(const String& name, u64 to);
    /// Needs a node of that name, and a new name that is free or the same but for its case.
    void rename(const String& from, const String& to);

    /// Lets another node have the name, the place and the number of one that is there; returns the
    /// number.
    NodeNumber replace(const String& name, Node* node) noexcept;
    /// Returns a number that is lower for nodes further in front. Needs a node of that name.
    [[nodiscard]] u64 placeOf(const String& name) const {
        return m_order.placeOfSlot(m_byName.find(name)->second.slot);
    }

    [[nodiscard]] CompactGraph& graph() noexcept { return m_graph; }
    [[nodiscard]] const CompactGraph& graph() const noexcept { return m_graph; }

    /// Returns `name` if it is free, else the next free name: the same with a number at its end.
    [[nodiscard]] String freeName(const String& name) const;

    /// Calls `visit(Node*)` in order; what is added meanwhile is visited too, nothing may be
    /// removed.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        m_order.forEach([&](const Entry* entry) { visit(entry->node); });
    }

private:
    friend class SceneVerifier;

    struct Entry {
        Node* node;
        u64 slot;
        NodeNumber number;
    };
    struct FoldedHash {
        std::size_t operator()(const String& name) const noexcept { return name.foldedHash(); }
    };
    struct FoldedEqual {
        bool operator()(const String& a, const String& b) const noexcept {
            return a.equalsNoCase(b);
        }
    };
    template<typename T>
    using ByName = std::unordered_map<String, T, FoldedHash, FoldedEqual>;

    [[nodiscard]] u64 place(Entry* entry, u64 index);
    void freeNumber(const String& name) noexcept;
    static void moved(Entry& entry, u64 slot) noexcept { entry.slot = slot; }
    [[nodiscard]] bool taken(const String& name) const { return m_byName.contains(name); }

    CompactGraph m_graph;
    // The map's entries stay where they are, so that the order can point at them.
    ByName<Entry> m_byName;
    OrderedSlots<Entry> m_order;
    // By name without its number: no lower number is free. Saves counting up from the start.
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
