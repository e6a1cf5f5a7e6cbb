#pragma once

#include "kelvo/sdk/impl/snapshot/deep_hashes.h"
#include "kelvo/sdk/impl/snapshot/record_maker.h"
#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"
#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// The records of the snapshots of a scene with evaluated or modified values: those of the snapshot
/// as set, except for nodes that are connected or modified, which have records of their own. These
/// are shared by consecutive snapshots while all their values stay equal. For the thread that takes
/// snapshots; the store and the hashes are for any thread.
class EvaluatedRecords {
public:
    using Records = SharedArray<const NodeRecord*>;

    EvaluatedRecords() = default;
    ~EvaluatedRecords();
    EvaluatedRecords(const EvaluatedRecords&) = delete;
    EvaluatedRecords& operator=(const EvaluatedRecords&) = delete;

    /// Returns the records that the nodes of a scene have apart from those as set; null for most
    /// nodes, in the order of the snapshot. Evaluates each output once, or none for modified values
    /// alone. `born` is the first snapshot that may have the records. Throws std::bad_alloc.
    [[nodiscard]] static std::vector<NewRecord>
    evaluate(const Scene& scene, const SnapshotTables& asSet, ShapeTable& shapes,
             TypeRecords& types, SnapshotVersion born, const SnapshotOptions& options);
    /// Brings the records up to date. Throws std::bad_alloc; the next call makes good what is
    /// missing then.
    void install(const SnapshotTables& asSet, std::vector<NewRecord> made);

    [[nodiscard]] const Records& records() const noexcept { return m_records; }
    [[nodiscard]] SnapshotStore& store() noexcept { return m_store; }
    [[nodiscard]] DeepHashes& hashes() noexcept { return m_hashes; }

private:
    void replace(NodeNumber number, const NodeRecord* asSet, NewRecord made);
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
