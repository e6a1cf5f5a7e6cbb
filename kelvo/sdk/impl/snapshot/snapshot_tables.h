#pragma once

#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/impl/snapshot/shared_array.h"
#include "kelvo/sdk/impl/snapshot/shared_names.h"
#include "kelvo/sdk/impl/snapshot/shared_order.h"
#include "kelvo/sdk/impl/snapshot/snapshot_file.h"
#include "kelvo/sdk/impl/snapshot/stored_nodes.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Records that are to fill tables, in creation order. Threads may set different ones at the same
/// time.
class NewRecords {
public:
    explicit NewRecords(u64 count) : m_records(count), m_names(count) {}

    // Also notes the hash of the name, which is at hand now but would have to be fetched later.
    void set(u64 index, NewRecord record) noexcept {
        m_names[index] = SharedNames::entryOf(record->name().foldedHash(), record->number());
        m_records[index] = std::move(record);
    }

private:
    friend struct SnapshotTables;
    [[nodiscard]] std::vector<u32> numbers() const;
    [[nodiscard]] std::vector<const NodeRecord*> byNumber() const;

    std::vector<NewRecord> m_records;
    std::vector<SharedNames::Entry> m_names;
};

/// The records of all nodes of a scene: by number, in creation order, and by name.
struct SnapshotTables {
    SharedArray<const NodeRecord*> records;
    SharedOrder order;
    SharedNames names;
    /// Null when the text has no comments of its own.
    RefersTo<SnapshotFile> file;
    /// The nodes of a stored snapshot, which has nothing but these and the file; null for others.
    RefersTo<StoredNodes> stored;
    /// Grows when nodes were moved, or added in front of others.
    u64 orderStamp = 0;
    /// Grows when nodes were moved, or removed in front of others: on the way back from a later
    /// snapshot they are added there.
    u64 orderStampBack = 0;

    [[nodiscard]] const NodeRecord* record(NodeNumber number) const noexcept {
        return stored ? stored->record(number) : records.at(number);
    }
    [[nodiscard]] const NodeRecord* find(const NameView& name) const noexcept;
    /// Returns the hash of the name of a node, 0 when there is none.
    [[nodiscard]] u64 nameHash(NodeNumber number) const noexcept {
        if (stored) return stored->nameHash(number);
        const NodeRecord* const found = records.at(number);
        return found ? found->name().hash() : 0;
    }
    [[nodiscard]] u64 nodeCount() const noexcept { return stored ? stored->size() : order.size(); }
    /// Returns the number of a node by position in creation order. Needs a position below the
    /// count.
    [[nodiscard]] NodeNumber numberAt(u64 index) const noexcept {
        return stored ? static_cast<NodeNumber>(index) : order.at(index);
    }
    /// Calls `visit(const NodeRecord&)` for all nodes in creation order.
    template<typename Visit>
    void forEachRecord(const Visit& visit) const {
        const auto visitNumber = [&](NodeNumber number) {
            if (const NodeRecord* found = record(number)) visit(*found);
        };
        if (!stored) return order.forEach(visitNumber);
        for (NodeNumber number = 0; number < stored->size(); ++number)
            visitNumber(number);
    }
    /// Takes over a record, which becomes the last in order. Throws std::bad_alloc; then the tables
    /// must be cleared.
    void add(NewRecord record, SnapshotStore& store);
    /// Fills empty tables, on at most `threads` threads. Throws std::bad_alloc and leaves the
    /// tables empty when memory is out.
    void fill(NewRecords made, u32 threads, SnapshotStore& store);
    void clear(SnapshotStore& store) noexcept;
};

} // namespace qv::kelvo_sdk::impl
