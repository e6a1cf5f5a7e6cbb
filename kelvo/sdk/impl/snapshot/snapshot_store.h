#pragma once

#include "kelvo/base/types.h"

#include <mutex>
#include <new>

namespace qv::kelvo_sdk::impl {

/// The number of a snapshot among those of one scene, from 1; later ones have greater numbers.
using SnapshotVersion = u64;

/// A piece of memory that is part of one or more consecutive snapshots of a scene, and constant as
/// soon as it is part of one.
struct SharedBlock {
    /// Frees the block and the things that only it holds.
    using End = void (*)(SharedBlock* block) noexcept;

    explicit SharedBlock(End endIt, SnapshotVersion first) noexcept : end(endIt), born(first) {}
    SharedBlock(const SharedBlock&) = delete;
    SharedBlock& operator=(const SharedBlock&) = delete;

    End end;
    /// The first snapshot that the block can be part of.
    SnapshotVersion born;
    /// Links the blocks whose last snapshot is the same.
    SharedBlock* next = nullptr;
};

/// Knows which snapshots of a scene are alive, and keeps the blocks that they share until the last
/// snapshot with a block is destroyed. Blocks need no counts, because snapshots follow each other:
/// a block is part of all snapshots from its first to its last.
class SnapshotStore {
public:
    /// A snapshot that is alive.
    struct Entry {
        SnapshotVersion version = 0;
        // Blocks that are part of this snapshot and of none that follows.
        SharedBlock* lastHere = nullptr;
        Entry* older = nullptr;
        Entry* newer = nullptr;
    };

    SnapshotStore() = default;
    SnapshotStore(const SnapshotStore&) = delete;
    SnapshotStore& operator=(const SnapshotStore&) = delete;

    // For the thread that takes snapshots.

    /// Returns the number that the next snapshot will have. Blocks born with it may still change.
    [[nodiscard]] SnapshotVersion next() const noexcept { return m_next; }
    /// Frees a block that the next snapshot does not have, as soon as no snapshot has it.
    void retire(SharedBlock* block) noexcept;
    /// Adds the next snapshot.
    void open(Entry& entry) noexcept;

    // For any thread.

    /// Adds a further use of a snapshot that is alive, which keeps its blocks when it is closed.
    void share(Entry& entry, Entry& snapshot) noexcept;
    void close(Entry& entry) noexcept;
    /// Returns the number of the oldest snapshot alive; that of the next one when there is none.
    [[nodiscard]] SnapshotVersion oldest() const noexcept;

private:
    mutable std::mutex m_mutex;
    SnapshotVersion m_next = 1;
    Entry* m_newest = nullptr;
    Entry* m_oldest = nullptr;
};

/// A further use of a snapshot, which keeps its blocks alive.
class SnapshotUse {
public:
    /// The snapshot must be alive. Borrows the store.
    SnapshotUse(SnapshotStore& store, SnapshotStore::Entry& snapshot) noexcept : m_store(store) {
        m_store.share(m_entry, snapshot);
    }
    ~SnapshotUse() { m_store.close(m_entry); }
    SnapshotUse(const SnapshotUse&) = delete;
    SnapshotUse& operator=(const SnapshotUse&) = delete;

private:
    SnapshotStore& m_store;
    SnapshotStore::Entry m_entry;
};

} // namespace qv::kelvo_sdk::impl
