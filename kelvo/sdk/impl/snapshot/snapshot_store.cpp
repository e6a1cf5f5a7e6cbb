#include "kelvo/sdk/impl/snapshot/snapshot_store.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

void freeAll(SharedBlock* blocks) noexcept {
    while (blocks) {
        SharedBlock* block = std::exchange(blocks, blocks->next);
        block->end(block);
    }
}

} // namespace

void SnapshotStore::retire(SharedBlock* block) noexcept {
    if (block->born < m_next) {
        const std::lock_guard lock(m_mutex);
        if (m_newest && m_newest->version >= block->born) {
            block->next = std::exchange(m_newest->lastHere, block);
            return;
        }
    }
    block->end(block);
}

void SnapshotStore::open(Entry& entry) noexcept {
    const std::lock_guard lock(m_mutex);
    entry = {.version = m_next++, .older = m_newest};
    (m_newest ? m_newest->newer : m_oldest) = &entry;
    m_newest = &entry;
}

// The new entry is the older one, so it gets the blocks that are only part of this snapshot.
void SnapshotStore::share(Entry& entry, Entry& snapshot) noexcept {
    const std::lock_guard lock(m_mutex);
    entry = {.version = snapshot.version, .older = snapshot.older, .newer = &snapshot};
    (entry.older ? entry.older->newer : m_oldest) = &entry;
    snapshot.older = &entry;
}

// Hands blocks that an older snapshot has too to that snapshot, and frees the others.
void SnapshotStore::close(Entry& entry) noexcept {
    SharedBlock* unused = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        Entry* older = entry.older;
        (older ? older->newer : m_oldest) = entry.newer;
        (entry.newer ? entry.newer->older : m_newest) = older;
        for (SharedBlock* block = entry.lastHere; block;) {
            SharedBlock* next = block->next;
            const bool isShared = older && older->version >= block->born;
            SharedBlock*& list = isShared ? older->lastHere : unused;
            block->next = std::exchange(list, block);
            block = next;
        }
    }
    freeAll(unused);
}

SnapshotVersion SnapshotStore::oldest() const noexcept {
    const std::lock_guard lock(m_mutex);
    return m_oldest ? m_oldest->version : m_next;
}

} // namespace qv::kelvo_sdk::impl
