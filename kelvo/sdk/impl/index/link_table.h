#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace qv::kelvo_sdk::impl {

class Input;
class LinkTable;

/// An entry in the ring of all inputs that link to one node; a part of its input.
struct Link {
    Input* input = nullptr;
    interfaces::INode* target = nullptr;
    LinkTable* table = nullptr;
    Link* previous = nullptr;
    Link* next = nullptr;
    // In the first link of a ring: the first link of the next ring in the same chain.
    Link* nextRing = nullptr;
};

/// The inputs that link to each node, so that links can be cleared when the node is removed: one
/// ring of links per target, in order of linking. Adding and removing take constant time and cannot
/// fail: when memory is out, the chains of the hash table grow longer instead of more.
///
/// A scene has a table for its own nodes. All free nodes share a table of the process, which any
/// thread may use.
class LinkTable {
public:
    LinkTable() = default;
    /// Return the tables of links to free nodes: in values and in kept values.
    [[nodiscard]] static LinkTable& ofFreeNodes() noexcept;
    [[nodiscard]] static LinkTable& keptOfFreeNodes() noexcept;
    /// Tells, without a lock, whether these two tables have links; each destroyed node asks this.
    [[nodiscard]] static bool hasFreeLinks() noexcept {
        return s_freeLinks.load(std::memory_order_relaxed) != 0;
    }
    /// Removes all links from the table; they keep their targets.
    ~LinkTable();
    LinkTable(const LinkTable&) = delete;
    LinkTable& operator=(const LinkTable&) = delete;

    /// Removes all links and calls `visit(Input&)` for the input of each, which must not add links.
    template<typename Visit>
    void clear(const Visit& visit) {
        takeRings([&visit](Link* first) {
            first->previous->next = nullptr;
            for (Link* link = first; link;) {
                Link* next = link->next;
                *link = Link{.input = link->input};
                visit(*link->input);
                link = next;
            }
        });
    }

    /// Needs a link that is in no table.
    void add(Link& link, interfaces::INode* target) noexcept;
    void remove(Link& link) noexcept;

    /// Returns the input with the oldest link to the node, null for none.
    [[nodiscard]] Input* first(const interfaces::INode* target) const noexcept;
    /// Returns how many inputs link to the node, in linear time.
    [[nodiscard]] u64 count(const interfaces::INode* target) const noexcept;
    /// Moves the links to a node to the end of another table.
    void moveTo(LinkTable& other, interfaces::INode* target) noexcept;
    /// Calls `visit(Input&)` for each input that links to the node; `visit` must not change links.
    template<typename Visit>
    void forEach(const interfaces::INode* target, const Visit& visit) const {
        findAny(target, [&visit](Input& input) {
            visit(input);
            return false;
        });
    }
    /// Tells whether `isWanted(Input&)` is true for an input that links to the node; stops at the
    /// first one.
    template<typename Wanted>
    bool findAny(const interfaces::INode* target, const Wanted& isWanted) const {
        const Link* first = m_ringCount != 0 ? *placeOf(target) : nullptr;
        if (!first) return false;
        const Link* link = first;
        do {
            if (isWanted(*link->input)) return true;
            link = link->next;
        } while (link != first);
        return false;
    }

    /// Calls `visit(const Link*)` with the first link of each ring.
    template<typename Visit>
    void forEachRing(const Visit& visit) const {
        for (u64 i = 0; i < m_placeCount; ++i)
            for (const Link* first = m_places[i]; first; first = first->nextRing)
                visit(first);
    }

private:
    // Locks a table that threads share.
    class Lock;
    static constexpr u64 fewPlaces = 8;

    [[nodiscard]] Link* firstLink(const interfaces::INode* target) const noexcept;
    // Returns the address of the pointer to the first link of a node's ring, which is null without
    // a ring.
    [[nodiscard]] Link** placeOf(const interfaces::INode* target) const noexcept;
    [[nodiscard]] Link** chainOf(const interfaces::INode* target) const noexcept;
    void grow() noexcept;
    // Removes each ring as a whole and calls `take(Link*)` with its first link.
    template<typename Take>
    void takeRings(const Take& take) {
        for (u64 i = 0; i < m_placeCount; ++i)
            while (Link* first = m_places[i]) {
                m_places[i] = std::exchange(first->nextRing, nullptr);
                --m_ringCount;
                take(first);
            }
    }
    explicit LinkTable(std::mutex& mutex) noexcept : m_mutex(&mutex) {}

    // Null for the table of a scene.
    std::mutex* m_mutex = nullptr;
    // The number of links in tables that threads share.
    static inline constinit std::atomic<u64> s_freeLinks = 0;
    // A hash table of chains of first links, by target; the number of chains is a power of two.
    Link* m_few[fewPlaces] = {};
    std::unique_ptr<Link*[]> m_many;
    Link** m_places = m_few;
    u64 m_placeCount = fewPlaces;
    u64 m_ringCount = 0;
};

} // namespace qv::kelvo_sdk::impl
