#pragma once

#include "kelvo/sdk/impl/snapshot/dependency_table.h"
#include "kelvo/sdk/impl/snapshot/shared_array.h"

#include <memory>
#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

class ContentHasher;

/// Makes the deep hashes of the snapshots of one scene, in the order in which they are asked for.
/// Follows the snapshot that was asked last: for another one it hashes the nodes that differ and
/// those that depend on them, and shares the rest. Any thread may use it.
class DeepHashes {
public:
    using Records = SharedArray<const NodeRecord*>;

    /// The hashes of one snapshot: constant.
    class Table {
    public:
        Table(SnapshotStore& store, const SharedArray<u64>& hashes, u64 ofAll) noexcept;
        ~Table() { m_store.close(m_entry); }
        Table(const Table&) = delete;
        Table& operator=(const Table&) = delete;

        [[nodiscard]] u64 of(NodeNumber node) const noexcept { return m_hashes.at(node); }
        [[nodiscard]] u64 ofAll() const noexcept { return m_ofAll; }

    private:
        SnapshotStore& m_store;
        SharedArray<u64> m_hashes;
        u64 m_ofAll;
        SnapshotStore::Entry m_entry;
    };

    using Uses = std::vector<std::unique_ptr<SnapshotUse>>;

    DeepHashes() = default;
    ~DeepHashes() { forget(); }
    DeepHashes(const DeepHashes&) = delete;
    DeepHashes& operator=(const DeepHashes&) = delete;

    /// Returns the hashes of a snapshot; they must end before this object. `uses` keep the records
    /// alive while this object follows the snapshot; without any it follows none afterwards. Many
    /// nodes are hashed on at most `threads` threads, 0 for as many as the machine runs at once.
    /// Throws std::bad_alloc.
    [[nodiscard]] std::unique_ptr<Table> make(const Records& records, Uses uses, u32 threads);

private:
    // A node during a walk; it counts only if `walk` is the number of that walk.
    struct Mark {
        u64 walk = 0;
        // The position in the walk, 0 before the node is reached.
        u32 index = 0;
        u32 lowest = 0;
        // The group of nodes that depend on each other, 0 while it is not known.
        u32 group = 0;
    };
    struct Step {
        NodeNumber node;
        u64 firstLead;
        u64 nextLead;
    };

    void follow(const Records& records, u32 threads);
    void markDifferences(const Records& records, u32 threads);
    void hashContents(const Records& records, u32 threads) const;
    void markReaders();
    void visitFrom(NodeNumber start, const Records& records, ContentHasher& hasher);
    void open(NodeNumber node, const NodeRecord& record);
    void closeGroup(NodeNumber last, const Records& records, ContentHasher& hasher);
    [[nodiscard]] u64 hashOf(const NodeRecord& record, const Records& records,
                             ContentHasher& hasher) const;
    [[nodiscard]] u64 hashOfLead(NodeNumber to, u32 group, const Records& records) const;
    void store(NodeNumber node, u64 hash);
    bool mark(NodeNumber node);
    [[nodiscard]] bool isMarked(NodeNumber node) const noexcept {
        return node < m_marks.size() && m_marks[node].walk == m_walk;
    }
    void forget() noexcept;

    std::mutex m_mutex;
    // Keep the records of the snapshot that everything below is about; empty for none. New records
    // in the memory of earlier ones could not be told from those.
    Uses m_uses;
    Records m_records;
    DependencyTable m_dependencies;
    SnapshotStore m_store;
    SharedArray<u64> m_hashes;
    // Of the hashes of all nodes, in any order.
    u64 m_sum = 0;

    // Memory of the walks.
    u64 m_walk = 0;
    u32 m_reached = 0;
    u32 m_groups = 0;
    std::vector<Mark> m_marks;
    std::vector<NodeNumber> m_affected;
    std::vector<Step> m_steps;
    std::vector<NodeNumber> m_leads;
    std::vector<NodeNumber> m_ungrouped;
    std::vector<u64> m_ofGroup;
};

} // namespace qv::kelvo_sdk::impl
