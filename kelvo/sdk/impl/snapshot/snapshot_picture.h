#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/impl/snapshot/shared_array.h"
#include "kelvo/sdk/impl/snapshot/shared_names.h"
#include "kelvo/sdk/impl/snapshot/shared_order.h"

namespace qv::kelvo_sdk::impl {

/// The records of all nodes of a scene: by number, in creation order, and by name.
struct SnapshotTables {
    SharedArray<const NodeRecord*> records;
    SharedOrder order;
    SharedNames names;
    /// Grows when nodes were moved, or added in front of others.
    u64 orderStamp = 0;
    /// Grows when nodes were moved, or removed in front of others: on the way back from a later
    /// snapshot they are added there.
    u64 orderStampBack = 0;

    [[nodiscard]] const NodeRecord* record(NodeNumber number) const noexcept {
        return records.at(number);
    }
    [[nodiscard]] const NodeRecord* find(const NameView& name) const noexcept;
    void clear(SnapshotStore& store) noexcept;
};

/// Everything that the snapshots of one scene share, and the state that the next snapshot will
/// have. Lives as long as the scene or a snapshot.
class SnapshotLine final : public RefCounted {
public:
    SnapshotLine() = default;
    ~SnapshotLine() override { current.clear(store); }

    ShapeTable shapes;
    SnapshotStore store;
    /// For the thread that takes snapshots.
    SnapshotTables current;
};

/// A snapshot: constant, and independent of the scene.
class SnapshotPicture final : public RefCounted {
public:
    explicit SnapshotPicture(RefersTo<SnapshotLine> line) noexcept
        : m_line(std::move(line)), m_tables(m_line->current) {
        m_line->store.open(m_entry);
    }
    ~SnapshotPicture() override { m_line->store.close(m_entry); }
    SnapshotPicture(const SnapshotPicture&) = delete;
    SnapshotPicture& operator=(const SnapshotPicture&) = delete;

    [[nodiscard]] const SnapshotTables& tables() const noexcept { return m_tables; }
    [[nodiscard]] SnapshotVersion version() const noexcept { return m_entry.version; }
    /// Tells whether two snapshots are of one scene.
    [[nodiscard]] bool isOfSameScene(const SnapshotPicture& other) const noexcept {
        return m_line == other.m_line;
    }

private:
    RefersTo<SnapshotLine> m_line;
    SnapshotTables m_tables;
    SnapshotStore::Entry m_entry;
};

} // namespace qv::kelvo_sdk::impl
