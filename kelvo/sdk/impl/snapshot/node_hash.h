#pragma once

#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// Returns the hash that `Node::hash` has for the live node.
[[nodiscard]] u64 liveHashOf(const NodeRecord& record, const SnapshotTables& tables);
/// Returns the hash that `Input::hash` has for the live input.
[[nodiscard]] u64 liveHashOf(const NodeRecord& record, const SnapshotTables& tables, u32 list,
                             u32 input);

/// Hashes the content of records without that of other nodes: name, type, bases, outputs, names and
/// kinds of inputs, and values other than links. Independent of numbers, marks and descriptions.
/// For one thread; remembers shapes, so it must not outlive the records.
class ContentHasher {
public:
    /// The record keeps the hash.
    [[nodiscard]] u64 of(const NodeRecord& record);

private:
    struct ShapeFacts {
        u64 hash = 0;
        // All values are numbers, which can be hashed as words.
        bool isPlain = true;
    };

    [[nodiscard]] u64 hashList(const NodeRecord& record, const RecordList& list, u64 hash);
    [[nodiscard]] const ShapeFacts& factsOf(const SnapshotShape& shape);

    std::unordered_map<const SnapshotShape*, ShapeFacts> m_shapes;
    const SnapshotShape* m_lastShape = nullptr;
    const ShapeFacts* m_lastFacts = nullptr;
};

} // namespace qv::kelvo_sdk::impl
