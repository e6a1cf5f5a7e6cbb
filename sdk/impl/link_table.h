#pragma once

#include "base/types.h"
#include "sdk/interfaces/forward.h"

#include <atomic>
#include <mutex>
#include <unordered_map>
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
};

/// Which inputs link to a node, so that its end can clear them: one ring of links per node that is
/// linked to, in order of linking. Adding and removing take constant time.
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

    /// Lets all links go and calls `visit(Input&)` for each of their inputs.
    template<typename Visit>
    void clear(const Visit& visit) {
        for (auto rings = std::exchange(m_first, {}); auto& [target, first] : rings) {
            first->previous->next = nullptr;
            for (Link* link = first; link;) {
                Link* next = link->next;
                *link = Link{.input = link->input};
                visit(*link->input);
                link = next;
            }
        }
    }

    /// Needs a link that is in no table.
    void add(Link& link, interfaces::INode* target);
    void remove(Link& link) noexcept;

    /// Returns the input that has linked to the node for longest, null when none does.
    [[nodiscard]] Input* first(const interfaces::INode* target) const noexcept;
    /// Returns how many inputs link to the node, in linear time.
    [[nodiscard]] u64 count(const interfaces::INode* target) const noexcept;
    /// Moves the links to a node to the end of another table.
    void moveTo(LinkTable& other, interfaces::INode* target);
    /// Calls `visit(Input&)` for each input that links to the node; no link may change meanwhile.
    template<typename Visit>
    void forEach(const interfaces::INode* target, const Visit& visit) const {
        if (m_first.empty()) return;
        const auto entry = m_first.find(target);
        if (entry == m_first.end()) return;
        const Link* link = entry->second;
        do {
            visit(*link->input);
            link = link->next;
        } while (link != entry->second);
    }

private:
    friend class SceneVerifier;

    // Guards a table that threads share.
    class Lock;
    [[nodiscard]] Link* firstLink(const interfaces::INode* target) const noexcept;
    explicit LinkTable(std::mutex& mutex) noexcept : m_mutex(&mutex) {}

    // Null for the table of a scene.
    std::mutex* m_mutex = nullptr;
    // How many links there are in tables that threads share.
    static inline constinit std::atomic<u64> s_freeLinks = 0;
    std::unordered_map<const interfaces::INode*, Link*> m_first;
};

} // namespace qv::kelvo_sdk::impl
