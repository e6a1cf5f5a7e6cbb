#pragma once

#include "kelvo/sdk/impl/snapshot/deep_hashes.h"
#include "kelvo/sdk/impl/snapshot/record_maker.h"
#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"
#include "kelvo/sdk/snapshot.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// The record that a node has of its own, beside the one as set: a new record, or an equal one that
/// it had before. Both are null for most nodes.
struct OwnRecord {
    NewRecord made = nullptr;
    const NodeRecord* before = nullptr;
};

/// The records of the snapshots of a scene with evaluated or modified values: those of the snapshot
/// as set, except for nodes that are connected or modified, which have records of their own. These
/// are shared by consecutive snapshots while all their values stay equal. For the thread that takes
/// snapshots; the store and the hashes are for any thread.
class EvaluatedRecords {
public:
    using Records = SharedArray<const NodeRecord*>;

    /// The records that nodes have of their own at some time; null for others.
    class Before {
    public:
        Before(const Records& records, std::vector<bool> isOwn)
            : m_records(records), m_isOwn(std::move(isOwn)) {}
        [[nodiscard]] const NodeRecord* at(NodeNumber number) const noexcept {
            return number < m_isOwn.size() && m_isOwn[number] ? m_records.at(number) : nullptr;
        }

    private:
        Records m_records;
        std::vector<bool> m_isOwn;
    };

    EvaluatedRecords() = default;
    ~EvaluatedRecords();
    EvaluatedRecords(const EvaluatedRecords&) = delete;
    EvaluatedRecords& operator=(const EvaluatedRecords&) = delete;

    /// Returns what the nodes of a scene have of their own, in the order of the snapshot. Evaluates
    /// each output once, or none for modified values alone. The records before must stay alive
    /// until the result is installed; `born` is the first snapshot that may have the new ones.
    /// Throws std::bad_alloc.
    [[nodiscard]] static std::vector<OwnRecord> evaluate(const Scene& scene,
                                                         const SnapshotTables& asSet,
                                                         const Before& before, ShapeTable& shapes,
                                                         TypeRecords& types, SnapshotVersion born,
                                                         const SnapshotOptions& options);
    /// Brings the records up to date. Throws std::bad_alloc; the next call makes good what is
    /// missing then.
    void install(const SnapshotTables& asSet, std::vector<OwnRecord> own);

    [[nodiscard]] const Records& records() const noexcept { return m_records; }
    [[nodiscard]] Before before() const { return {m_records, m_isOwn}; }
    [[nodiscard]] SnapshotStore& store() noexcept { return m_store; }
    [[nodiscard]] DeepHashes& hashes() noexcept { return m_hashes; }

private:
    void replace(NodeNumber number, const NodeRecord* asSet, OwnRecord own);
    void removeGone(const SnapshotTables& asSet);
    [[nodiscard]] bool isOwn(NodeNumber number) const noexcept {
        return number < m_isOwn.size() && m_isOwn[number];
    }

    SnapshotStore m_store;
    Records m_records;
    // By number: the node has a record of its own.
    std::vector<bool> m_isOwn;
    DeepHashes m_hashes;
};

} // namespace qv::kelvo_sdk::impl
