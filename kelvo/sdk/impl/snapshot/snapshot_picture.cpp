#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

#include "kelvo/base/workers.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

const NodeRecord* SnapshotTables::find(const NameView& name) const noexcept {
    if (stored) return stored->find(name);
    const u32 number = names.find(name.foldedHash(), [&](NodeNumber found) {
        return record(found)->name().equalsNoCase(name.text());
    });
    return number == SharedNames::none ? nullptr : record(number);
}

void SnapshotTables::add(NewRecord record, SnapshotStore& store) {
    const NodeNumber number = record->number();
    names.insert(record->name().foldedHash(), number, store);
    order.insert(order.size(), number, store);
    const NodeRecord*& place = records.edit(number, store);
    place = record.release();
}

std::vector<u32> NewRecords::numbers() const {
    std::vector<u32> numbers;
    numbers.reserve(m_names.size());
    for (const SharedNames::Entry& entry : m_names)
        numbers.push_back(entry.number - 1);
    return numbers;
}

std::vector<const NodeRecord*> NewRecords::byNumber() const {
    u32 end = 0;
    for (const SharedNames::Entry& entry : m_names)
        end = std::max(end, entry.number);
    std::vector<const NodeRecord*> records(end);
    for (std::size_t i = 0; i < m_records.size(); ++i)
        records[m_names[i].number - 1] = m_records[i].get();
    return records;
}

void SnapshotTables::fill(NewRecords made, u32 threads, SnapshotStore& store) {
    // With fewer nodes it takes longer to start a thread.
    constexpr u64 manyNodes = 4096;
    try {
        Workers(made.m_records.size() < manyNodes ? 1 : threads).run(3, [&](u64 table) {
            if (table == 0)
                names.fill(made.m_names, store);
            else if (table == 1)
                records.fill(made.byNumber(), store);
            else
                order.fill(made.numbers(), store);
        });
    } catch (...) {
        // The records are still those of `made`.
        records.clear(store);
        clear(store);
        throw;
    }
    for (NewRecord& record : made.m_records)
        static_cast<void>(record.release());
}

// A stored snapshot has no array of its records, and no other snapshot to share hashes with.
std::unique_ptr<DeepHashes::Table> SnapshotPicture::makeHashes() const {
    if (!m_tables.stored) return m_hasher.make(m_tables.records, uses(), m_threads);
    SnapshotStore store;
    DeepHashes::Records records;
    try {
        m_tables.forEachRecord(
            [&](const NodeRecord& record) { records.edit(record.number(), store) = &record; });
        auto made = m_hasher.make(records, {}, m_threads);
        records.clear(store);
        return made;
    } catch (...) {
        records.clear(store);
        throw;
    }
}

void SnapshotTables::clear(SnapshotStore& store) noexcept {
    records.forEach(
        [&](u32, const NodeRecord* record) { store.retire(const_cast<NodeRecord*>(record)); });
    records.clear(store);
    order.clear(store);
    names.clear(store);
}

} // namespace qv::kelvo_sdk::impl
