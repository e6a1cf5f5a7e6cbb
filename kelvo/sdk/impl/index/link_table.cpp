#include "kelvo/sdk/impl/index/link_table.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

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

// These tables are never destroyed, because nodes of static storage may outlive any other object.
// They need no allocation, because every node looks into them when it is destroyed.
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
    takeRings([](Link* first) {
        Link* link = first;
        do {
            Link* next = link->next;
            link->table = nullptr;
            link->previous = link->next = nullptr;
            link = next;
        } while (link != first);
    });
}

// Uses the high bits of a product, because the low bits of addresses are mostly equal.
Link** LinkTable::chainOf(const interfaces::INode* target) const noexcept {
    const u64 mixed = reinterpret_cast<std::uintptr_t>(target) * 0x9e3779b97f4a7c15;
    return &m_places[(mixed >> 32) & (m_placeCount - 1)];
}

Link** LinkTable::placeOf(const interfaces::INode* target) const noexcept {
    Link** place = chainOf(target);
    while (*place && (*place)->target != target)
        place = &(*place)->nextRing;
    return place;
}

// When memory is out, keeps the chains, which only get longer and slower.
void LinkTable::grow() noexcept {
    const u64 count = m_placeCount * 2;
    std::unique_ptr<Link*[]> many(new (std::nothrow) Link*[count]());
    if (!many) return;
    Link** const before = std::exchange(m_places, many.get());
    const u64 countBefore = std::exchange(m_placeCount, count);
    for (u64 i = 0; i < countBefore; ++i)
        for (Link* first = before[i]; first;) {
            Link* next = first->nextRing;
            Link** chain = chainOf(first->target);
            first->nextRing = std::exchange(*chain, first);
            first = next;
        }
    m_many = std::move(many);
}

void LinkTable::add(Link& link, interfaces::INode* target) noexcept {
    const Lock lock(*this);
    if (m_mutex) s_freeLinks.fetch_add(1, std::memory_order_relaxed);
    link.target = target;
    link.table = this;
    if (Link* first = *placeOf(target)) {
        link.next = first;
        link.previous = first->previous;
        link.previous->next = &link;
        first->previous = &link;
        return;
    }
    if (m_ringCount == m_placeCount) grow();
    link.previous = link.next = &link;
    Link** chain = chainOf(target);
    link.nextRing = std::exchange(*chain, &link);
    ++m_ringCount;
}

void LinkTable::remove(Link& link) noexcept {
    const Lock lock(*this);
    Link** place = placeOf(link.target);
    if (link.next == &link) {
        *place = link.nextRing;
        --m_ringCount;
    } else if (*place == &link) {
        link.next->nextRing = link.nextRing;
        *place = link.next;
    }
    link.previous->next = link.next;
    link.next->previous = link.previous;
    link = Link{.input = link.input};
    if (m_mutex) s_freeLinks.fetch_sub(1, std::memory_order_relaxed);
}

void LinkTable::moveTo(LinkTable& other, interfaces::INode* target) noexcept {
    while (Link* link = firstLink(target)) {
        remove(*link);
        other.add(*link, target);
    }
}

Input* LinkTable::first(const interfaces::INode* target) const noexcept {
    const Link* link = firstLink(target);
    return link ? link->input : nullptr;
}

// May read the count of free links without a lock, because only the thread that edits a node adds
// and removes links to it.
Link* LinkTable::firstLink(const interfaces::INode* target) const noexcept {
    if (m_mutex ? !hasFreeLinks() : m_ringCount == 0) return nullptr;
    const Lock lock(*this);
    return *placeOf(target);
}

u64 LinkTable::count(const interfaces::INode* target) const noexcept {
    const Lock lock(*this);
    const Link* first = *placeOf(target);
    if (!first) return 0;
    u64 count = 1;
    for (const Link* link = first->next; link != first; link = link->next)
        ++count;
    return count;
}

} // namespace qv::kelvo_sdk::impl
