#include "sdk/impl/link_table.h"

namespace qv::kelvo_sdk::impl {

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
    Link*& first = m_first[target];
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
}

Input* LinkTable::first(const interfaces::INode* target) const noexcept {
    const auto entry = m_first.find(target);
    return entry == m_first.end() ? nullptr : entry->second->input;
}

u64 LinkTable::count(const interfaces::INode* target) const noexcept {
    const auto entry = m_first.find(target);
    if (entry == m_first.end()) return 0;
    u64 count = 1;
    for (const Link* link = entry->second->next; link != entry->second; link = link->next)
        ++count;
    return count;
}

} // namespace qv::kelvo_sdk::impl
