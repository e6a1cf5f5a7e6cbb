#include "kelvo/sdk/impl/index/node_table.h"

#include "kelvo/sdk/impl/index/node_table_follower.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

struct NumberedName {
    String stem;
    u64 number = 0;
};

// Splits "lamp12" into "lamp" and 12. A number of more than 9 digits belongs to the stem.
NumberedName splitNumber(const String& name) {
    const std::string_view text = name.view();
    const u64 end = text.find_last_not_of("0123456789") + 1;
    const std::string_view digits = text.substr(end);
    if (digits.empty() || digits.size() > 9) return {name, 0};
    NumberedName result{String(text.substr(0, end)), 0};
    std::from_chars(digits.data(), digits.data() + digits.size(), result.number);
    return result;
}

String withNumber(const String& stem, u64 number) {
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return stem + std::string_view(digits, static_cast<std::size_t>(end - digits));
}

} // namespace

Node* NodeTable::find(const NameView& name) const noexcept {
    const auto entry = m_byName.find(name);
    return entry == m_byName.end() ? nullptr : entry->second.node;
}

Node* NodeTable::at(u64 index) const noexcept {
    const Entry* entry = m_order.at(index);
    return entry ? entry->node : nullptr;
}

u64 NodeTable::indexOf(const String& name) const noexcept {
    const auto entry = m_byName.find(name);
    return entry == m_byName.end() ? noIndex : m_order.rankOf(entry->second.slot);
}

void NodeTable::follow(NodeTableFollower* follower) {
    m_graph.follow(follower);
    m_follower = follower;
}

// An index out of range stands for the end.
void NodeTable::tellInserted(u64 index, NodeNumber number) const noexcept {
    if (m_follower) m_follower->inserted(std::min(index, size() - 1), number);
}

void NodeTable::tellRemoved(const Entry& entry) const noexcept {
    if (m_follower) m_follower->removed(m_order.rankOf(entry.slot));
}

u64 NodeTable::place(Entry* entry, u64 index) {
    return index < m_order.size() ? m_order.insert(index, entry, moved) : m_order.add(entry);
}

void NodeTable::move(const String& name, u64 to) {
    Entry& entry = m_byName.find(name)->second;
    tellRemoved(entry);
    try {
        m_order.reserve();
        m_order.remove(entry.slot, moved);
        entry.slot = place(&entry, to);
    } catch (const std::bad_alloc&) {
        m_order.shift(entry.slot, to, moved);
    }
    tellInserted(to, entry.number);
}

NodeNumber NodeTable::add(const String& name, Node* node, u64 index) {
    const auto [entry, isNew] = m_byName.try_emplace(name, Entry{node});
    NodeNumber& number = entry->second.number;
    try {
        number = m_graph.claim();
        entry->second.slot = place(&entry->second, index);
    } catch (...) {
        if (number != noNumber) m_graph.release(number);
        m_byName.erase(entry);
        throw;
    }
    m_graph.place(number, node);
    tellInserted(index, number);
    return number;
}

NodeNumber NodeTable::add(Place place, const String& name, Node* node, u64 index) {
    if (!place) return add(name, node, index);
    m_order.reserve();
    if (!place.m_entry.key().equals(name)) place.m_entry.key() = name;
    place.m_entry.mapped().node = node;
    Entry& entry = m_byName.insert(std::move(place.m_entry)).position->second;
    entry.slot = this->place(&entry, index);
    m_graph.place(entry.number, node);
    tellInserted(index, entry.number);
    return entry.number;
}

Node* NodeTable::remove(const String& name) noexcept {
    const Place place = take(name);
    return place ? place.m_entry.mapped().node : nullptr;
}

NodeTable::Place NodeTable::take(const String& name) noexcept {
    Place place;
    const auto entry = m_byName.find(name);
    if (entry == m_byName.end()) return place;
    tellRemoved(entry->second);
    m_order.remove(entry->second.slot, moved);
    place.m_entry = m_byName.extract(entry);
    place.m_graph = &m_graph;
    m_graph.place(place.m_entry.mapped().number, nullptr);
    freeNumber(name);
    return place;
}

// When memory is out, forgets all numbers, so that the next search starts from 1.
void NodeTable::freeNumber(const String& name) noexcept {
    if (m_nextNumber.empty()) return;
    try {
        const NumberedName freed = splitNumber(name);
        const auto next = m_nextNumber.find(freed.stem);
        if (next != m_nextNumber.end() && freed.number != 0 && freed.number < next->second)
            next->second = freed.number;
    } catch (const std::bad_alloc&) {
        m_nextNumber.clear();
    }
}

void NodeTable::rename(const String& from, const String& to) {
    auto entry = m_byName.extract(from);
    entry.key() = to;
    m_byName.insert(std::move(entry));
}

NodeNumber NodeTable::replace(const String& name, Node* node) noexcept {
    Entry& entry = m_byName.find(name)->second;
    entry.node = node;
    m_graph.place(entry.number, node);
    return entry.number;
}

String NodeTable::freeName(const String& name) const {
    if (!taken(name)) return name;
    const NumberedName parts = splitNumber(name);
    u64& next = m_nextNumber.try_emplace(parts.stem, 1).first->second;
    u64 number = std::max(next, parts.number + 1);
    const bool countsAll = number == next;
    String candidate = withNumber(parts.stem, number);
    while (taken(candidate))
        candidate = withNumber(parts.stem, ++number);
    if (countsAll) next = number;
    return candidate;
}

} // namespace qv::kelvo_sdk::impl
