#include "kelvo/sdk/impl/snapshot/shared_names.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace qv::kelvo_sdk::impl {

void SharedNames::insert(u64 hash, u32 number, SnapshotStore& store) {
    if (2 * (u64{m_count} + 1) > m_places) resize(m_places != 0 ? 2 * m_places : 16, store);
    put(entryOf(hash, number), store);
    ++m_count;
}

void SharedNames::put(Entry entry, SnapshotStore& store) {
    u32 place = homeOf(entry.hash);
    while (m_entries.at(place).number != 0)
        place = next(place);
    m_entries.edit(place, store) = entry;
}

void SharedNames::fill(std::span<const Entry> entries, SnapshotStore& store) {
    m_count = static_cast<u32>(entries.size());
    m_places = std::max<u32>(16, std::bit_ceil(2 * m_count));
    std::vector<Entry> places(m_places);
    for (const Entry& entry : entries) {
        u32 place = homeOf(entry.hash);
        while (places[place].number != 0)
            place = next(place);
        places[place] = entry;
    }
    m_entries.fill(places, store);
}

void SharedNames::resize(u32 places, SnapshotStore& store) {
    SharedNames larger;
    larger.m_places = places;
    try {
        m_entries.forEach([&](u32, const Entry& entry) { larger.put(entry, store); });
    } catch (...) {
        larger.m_entries.clear(store);
        throw;
    }
    m_entries.clear(store);
    m_entries = larger.m_entries;
    m_places = larger.m_places;
}

// Moves later entries into the gap, as far as a search from their home passes it.
void SharedNames::remove(u64 hash, u32 number, SnapshotStore& store) {
    u32 gap = homeOf(hash);
    while (m_entries.at(gap).number != number + 1)
        gap = next(gap);
    for (u32 place = next(gap);; place = next(place)) {
        const Entry entry = m_entries.at(place);
        if (entry.number == 0) break;
        const u32 home = homeOf(entry.hash);
        if (((place - home) & (m_places - 1)) < ((place - gap) & (m_places - 1))) continue;
        m_entries.edit(gap, store) = entry;
        gap = place;
    }
    m_entries.edit(gap, store) = {};
    --m_count;
}

void SharedNames::clear(SnapshotStore& store) noexcept {
    m_entries.clear(store);
    m_places = m_count = 0;
}

} // namespace qv::kelvo_sdk::impl
