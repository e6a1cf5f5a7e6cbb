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

/// The place of one input in the list of those that link to the same node; part of the input.
struct Link {
    Input* input = nullptr;
    interfaces::INode* target = nullptr;
    LinkTable* table = nullptr;
    Link* previous = nullptr;
    Link* next = nullptr;
    // Of the first link of a ring: the first of another ring whose node has the same place.
    Link* nextRing = nullptr;
};

/// Which inputs link to a node, so that its end can clear them: one ring of links per node that is
/// linked to, in order of linking. Adding and removing take constant time, and no memory that could
/// be missing: without more of it for the places of nodes, several nodes share one.
///
/// A scene has a table for its own nodes. Nodes that stand in no scene share one of the process,
/// which any thread may use.
class LinkTable {
public:
    LinkTable() = default;
    /// The tables of nodes that stand in no scene: of links, and of links that are kept aside.
    [[nodiscard]] static LinkTable& ofFreeNodes() noexcept;
    [[nodiscard]] static LinkTable& keptOfFreeNodes() noexcept;
    /// Tells whether these two hold anything, which the end of each node asks.
    [[nodiscard]] static bool hasFreeLinks() noexcept {
        return s_freeLinks.load(std::memory_order_relaxed) != 0;
    }
    /// Lets all links go; they keep their targets.
    ~LinkTable();
    LinkTable(const LinkTable&) = delete;
    LinkTable& operator=(const LinkTable&) = delete;

    /// Lets all links go and calls `visit(Input&)` for each of their inputs, which adds none.
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

    /// Returns the input that has linked to the node for longest, null when none does.
    [[nodiscard]] Input* first(const interfaces::INode* target) const noexcept;
    /// Returns how many inputs link to the node, in linear time.
    [[nodiscard]] u64 count(const interfaces::INode* target) const noexcept;
    /// Moves the links to a node to the end of another table.
    void moveTo(LinkTable& other, interfaces::INode* target) noexcept;
    /// Calls `visit(Input&)` for each input that links to the node; no link may change meanwhile.
    template<typename Visit>
    void forEach(const interfaces::INode* target, const Visit& visit) const {
        findAny(target, [&visit](Input& input) {
            visit(input);
            return false;
        });
    }
    /// Tells whether `isWanted(Input&)` answers true for one of these, and asks no further ones.
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

private:
    friend class SceneVerifier;

    // Guards a table that threads share.
    class Lock;
    static constexpr u64 fewPlaces = 8;

    [[nodiscard]] Link* firstLink(const interfaces::INode* target) const noexcept;
    // Returns where the first link of a node's ring is kept, or would be.
    [[nodiscard]] Link** placeOf(const interfaces::INode* target) const noexcept;
    [[nodiscard]] Link** chainOf(const interfaces::INode* target) const noexcept;
    void grow() noexcept;
    // Takes each ring out whole and calls `take(Link*)` with its first link.
    template<typename Take>
    void takeRings(const Take& take) {
        for (u64 i = 0; i < m_placeCount; ++i)
            while (Link* first = m_places[i]) {
                m_places[i] = std::exchange(first->nextRing, nullptr);
                --m_ringCount;
                take(first);
            }
    }
    template<typename Visit>
    void forEachRing(const Visit& visit) const {
        for (u64 i = 0; i < m_placeCount; ++i)
            for (const Link* first = m_places[i]; first; first = first->nextRing)
                visit(first);
    }
    explicit LinkTable(std::mutex& mutex) noexcept : m_mutex(&mutex) {}

    // Null for the table of a scene.
    std::mutex* m_mutex = nullptr;
    // How many links there are in tables that threads share.
    static inline constinit std::atomic<u64> s_freeLinks = 0;
    // Chains of first links, by the addresses of their nodes; a power of two of them.
    Link* m_few[fewPlaces] = {};
    std::unique_ptr<Link*[]> m_many;
    Link** m_places = m_few;
    u64 m_placeCount = fewPlaces;
    u64 m_ringCount = 0;
};

} // namespace qv::kelvo_sdk::impl
