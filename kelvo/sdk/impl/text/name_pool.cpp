#include "kelvo/sdk/impl/text/name_pool.h"

#include "kelvo/base/hash.h"

#include <bit>

namespace qv::kelvo_sdk::impl {

NamePool::NamePool() : m_slots(256), m_foldedSlots(256) {
    m_seed = hashMix(std::bit_cast<u64>(this), std::bit_cast<u64>(m_slots.data()));
}

u32 NamePool::add(std::string_view name) {
    const u64 hash = hashBytes(name.data(), name.size(), m_seed);
    const u64 mask = m_slots.size() - 1;
    u64 slot = hash & mask;
    for (; m_slots[slot] != 0; slot = (slot + 1) & mask) {
        const Name& known = m_names[m_slots[slot] - 1];
        if (known.hash == hash && known.text.view() == name) return m_slots[slot] - 1;
    }
    const u32 added = size();
    m_names.push_back({String(name), hash, added});
    m_slots[slot] = added + 1;
    m_names[added].folded = firstFolded(added);
    if (m_names.size() * 2 > m_slots.size()) grow();
    return added;
}

u32 NamePool::firstFolded(u32 name) {
    const String& text = m_names[name].text;
    const u64 mask = m_foldedSlots.size() - 1;
    u64 slot = hashMix(m_seed, text.foldedHash()) & mask;
    for (; m_foldedSlots[slot] != 0; slot = (slot + 1) & mask) {
        const u32 known = m_foldedSlots[slot] - 1;
        if (m_names[known].text.equalsNoCase(text)) return known;
    }
    m_foldedSlots[slot] = name + 1;
    return name;
}

void NamePool::grow() {
    const u64 mask = m_slots.size() * 2 - 1;
    std::vector<u32> slots(mask + 1);
    std::vector<u32> foldedSlots(mask + 1);
    for (u32 name = 0; name < size(); ++name) {
        u64 slot = m_names[name].hash & mask;
        while (slots[slot] != 0)
            slot = (slot + 1) & mask;
        slots[slot] = name + 1;
        if (m_names[name].folded != name) continue;
        slot = hashMix(m_seed, m_names[name].text.foldedHash()) & mask;
        while (foldedSlots[slot] != 0)
            slot = (slot + 1) & mask;
        foldedSlots[slot] = name + 1;
    }
    m_slots = std::move(slots);
    m_foldedSlots = std::move(foldedSlots);
}

} // namespace qv::kelvo_sdk::impl
