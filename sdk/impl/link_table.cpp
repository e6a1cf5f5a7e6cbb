#include "sdk/impl/link_table.h"

#include <cstddef>
#include <new>

namespace qv::kelvo_sdk::impl {

class LinkTable::Lock {
public:
    explicit Lock(const LinkTable& table) : m_table(table) {
        if (m_table.m_mutex) m_table.m_mutex->lock();
    }
    ~Lock() {
        if (m_table.m_mutex) m_table.m_mutex->unlock();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    const LinkTable& m_table;
};

// These never end, as nodes of static storage may outlive anything else. They take no memory until
// something is added, as the end of any node looks into them.
LinkTable& LinkTable::ofFreeNodes() noexcept {
    static std::mutex mutex;
    alignas(LinkTable) static std::byte room[sizeof(LinkTable)];
    static auto* const table = new (room) LinkTable(mutex);
    return *table;
}

LinkTable& LinkTable::keptOfFreeNodes() noexcept {
    static std::mutex mutex;
    alignas(LinkTable) static std::byte room[sizeof(LinkTable)];
    static auto* const table = new (room) LinkTable(mutex);
    return *table;
}

LinkTable::~LinkTable() {
    for (const auto& [target, first] : m_first) {
        Link* link = first;
        do {
            Link* next = link->next;
            link->table = nullptr;
            link->previous = link->next = nullptr;
            link = next;
        } while (link != first);
    }
}

void LinkTable::add(Link& link, interfaces::INode* target) {
    const Lock lock(*this);
    Link*& first = m_first[target];
    if (m_mutex) s_freeLinks.fetch_add(1, std::memory_order_relaxed);
    link.target = target;
    link.table = this;
    if (!first) {
        first = link.previous = link.next = &link;
        return;
    }
    link.next = first;
    link.previous = first->previous;
    link.previous->next = &link;
    first->previous = &link;
}

void LinkTable::remove(Link& link) noexcept {
    const Lock lock(*this);
    const auto entry = m_first.find(link.target);
    if (link.next == &link)
        m_first.erase(entry);
    else if (entry->second == &link)
        entry->second = link.next;
    link.previous->next = link.next;
    link.next->previous = link.previous;
    link.target = nullptr;
    link.table = nullptr;
    link.previous = link.next = nullptr;
    if (m_mutex) s_freeLinks.fetch_sub(1, std::memory_order_relaxed);
}

void LinkTable::moveTo(LinkTable& other, interfaces::INode* target) {
    while (Link* link = firstLink(target)) {
        remove(*link);
        other.add(*link, target);
    }
}

Input* LinkTable::first(const interfaces::INode* target) const noexcept {
    const Link* link = firstLink(target);
    return link ? link->input : nullptr;
}

// The links to one node belong to the thread that edits it.
Link* LinkTable::firstLink(const interfaces::INode* target) const noexcept {
    if (m_mutex ? !hasFreeLinks() : m_first.empty()) return nullptr;
    const Lock lock(*this);
    const auto entry = m_first.find(target);
    return entry == m_first.end() ? nullptr : entry->second;
}

u64 LinkTable::count(const interfaces::INode* target) const noexcept {
    const Lock lock(*this);
    const auto entry = m_first.find(target);
    if (entry == m_first.end()) return 0;
    u64 count = 1;
    for (const Link* link = entry->second->next; link != entry->second; link = link->next)
        ++count;
    return count;
}

} // namespace qv::kelvo_sdk::impl
