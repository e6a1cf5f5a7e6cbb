#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/impl/snapshot/deep_hashes.h"
#include "kelvo/sdk/impl/snapshot/evaluated_records.h"
#include "kelvo/sdk/impl/snapshot/made_once.h"
#include "kelvo/sdk/impl/snapshot/snapshot_parents.h"
#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"

namespace qv::kelvo_sdk::impl {

/// Everything that the snapshots of one scene share, and the state that the next snapshot will
/// have. Lives as long as the scene or a snapshot.
class SnapshotLine final : public RefCounted {
public:
    SnapshotLine() = default;
    ~SnapshotLine() override { current.clear(store); }

    ShapeTable shapes;
    TypeRecords types;
    SnapshotStore store;
    /// For the thread that takes snapshots.
    SnapshotTables current;
    DeepHashes hashes;
    /// The records of snapshots that have other values than those set.
    [[nodiscard]] EvaluatedRecords& evaluated(SnapshotValues values) noexcept {
        return values == SnapshotValues::Evaluated ? m_evaluated : m_modified;
    }

private:
    EvaluatedRecords m_evaluated;
    EvaluatedRecords m_modified;
};

/// A snapshot: constant, and independent of the scene.
class SnapshotPicture final : public RefCounted {
public:
    /// Makes a snapshot of the line's current state, which is hashed on at most `threads` threads;
    /// 0 for as many as the machine runs at once.
    explicit SnapshotPicture(RefersTo<SnapshotLine> line, u32 threads = 0) noexcept
        : m_line(std::move(line)),
          m_threads(threads),
          m_store(m_line->store),
          m_hasher(m_line->hashes),
          m_tables(m_line->current) {
        m_store.open(m_entry);
    }
    /// Makes a snapshot like another one, but with evaluated records of its line.
    SnapshotPicture(RefersTo<SnapshotPicture> asSet, EvaluatedRecords& evaluated) noexcept
        : m_line(asSet->m_line),
          m_threads(asSet->m_threads),
          m_asSet(std::move(asSet)),
          m_store(evaluated.store()),
          m_hasher(evaluated.hashes()),
          m_tables(m_asSet->m_tables) {
        m_tables.records = evaluated.records();
        m_store.open(m_entry);
    }
    ~SnapshotPicture() override { m_store.close(m_entry); }
    SnapshotPicture(const SnapshotPicture&) = delete;
    SnapshotPicture& operator=(const SnapshotPicture&) = delete;

    [[nodiscard]] const SnapshotTables& tables() const noexcept { return m_tables; }
    [[nodiscard]] SnapshotVersion version() const noexcept {
        return m_asSet ? m_asSet->version() : m_entry.version;
    }
    [[nodiscard]] const ShapeTable& shapes() const noexcept { return m_line->shapes; }
    /// Tells whether two snapshots are of one scene.
    [[nodiscard]] bool isOfSameScene(const SnapshotPicture& other) const noexcept {
        return m_line == other.m_line;
    }
    /// Made on the first call, from those of the snapshot that was asked last.
    [[nodiscard]] const DeepHashes::Table& hashes() const {
        return m_hashes.get([this] { return makeHashes(); });
    }
    /// Made on the first call.
    [[nodiscard]] const SnapshotParents& parents() const {
        return m_parents.get([this] { return std::make_unique<SnapshotParents>(m_tables); });
    }

private:
    [[nodiscard]] std::unique_ptr<DeepHashes::Table> makeHashes() const;
    // Keep the records: those of an evaluated snapshot are partly those of the one as set.
    [[nodiscard]] DeepHashes::Uses uses() const {
        DeepHashes::Uses uses = m_asSet ? m_asSet->uses() : DeepHashes::Uses();
        uses.push_back(std::make_unique<SnapshotUse>(m_store, m_entry));
        return uses;
    }

    RefersTo<SnapshotLine> m_line;
    u32 m_threads;
    // Null for a snapshot that is as set itself.
    RefersTo<SnapshotPicture> m_asSet;
    SnapshotStore& m_store;
    DeepHashes& m_hasher;
    SnapshotTables m_tables;
    // Other uses of the snapshot stand next to it in the store.
    mutable SnapshotStore::Entry m_entry;
    MadeOnce<DeepHashes::Table> m_hashes;
    MadeOnce<SnapshotParents> m_parents;
};

} // namespace qv::kelvo_sdk::impl
