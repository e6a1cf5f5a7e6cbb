#pragma once

#include "kelvo/base/name.h"
#include "kelvo/sdk/impl/snapshot/snapshot_file.h"
#include "kelvo/sdk/impl/snapshot/stored_head.h"
#include "kelvo/sdk/impl/snapshot/stored_records.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Keeps the first damage of a stored snapshot that was found. Any thread may use it.
class DamageNote final : public RefCounted {
public:
    void note(const Result& damage) const noexcept;
    [[nodiscard]] Result first() const;

private:
    mutable std::mutex m_mutex;
    mutable Result m_first;
};

/// The nodes of a stored snapshot. Reads a piece when one of its nodes is first asked for, and
/// keeps it. Any thread may use it.
class StoredNodes final : public RefCounted {
public:
    /// Borrows the tables, which get the shapes and the definitions of types.
    StoredNodes(RefersTo<PieceSource> source, ShapeTable& shapes, TypeRecords& types);
    ~StoredNodes() override;
    StoredNodes(const StoredNodes&) = delete;
    StoredNodes& operator=(const StoredNodes&) = delete;

    /// Reads everything that concerns the whole scene. Call first; after a failure the nodes are of
    /// no use.
    [[nodiscard]] Result open();
    /// Returns the comments of the text as a whole, null for none.
    [[nodiscard]] const RefersTo<SnapshotFile>& file() const noexcept { return m_file; }

    [[nodiscard]] u32 size() const noexcept { return m_head.nodeCount; }
    /// Returns null for a number out of range or a damaged piece.
    [[nodiscard]] const NodeRecord* record(NodeNumber number) const noexcept;
    [[nodiscard]] const NodeRecord* find(const NameView& name) const noexcept;
    /// Returns the hash of the name of a node, without keeping more of it; 0 for a number out of
    /// range or a damaged piece.
    [[nodiscard]] u64 nameHash(NodeNumber number) const noexcept;
    /// Calls `visit` for the nodes from `begin` to `end`. Keeps no pieces but those that it finds
    /// kept, so the nodes are valid during the call only.
    void visit(u32 begin, u32 end, const std::function<void(const NodeRecord&)>& visit) const;

    /// Returns the first damage that was met, or that memory was out.
    [[nodiscard]] Result damage() const { return m_damage->first(); }
    /// Reads all nodes, on as many threads as the machine runs at once, without elements of large
    /// buffers.
    void readAll() const;
    /// Reads everything, on as many threads as the machine runs at once.
    [[nodiscard]] Result verify() const;

private:
    struct NodePiece;
    using NameHashes = std::array<u64, StoredHead::nodesOfPiece>;

    void readHead();
    void readTypes();
    [[nodiscard]] std::vector<const NodeRecord*> readDefinitions(ByteReader& in,
                                                                 const StoredDetails& details);
    void readFile();
    [[nodiscard]] const NodePiece* nodePiece(u64 index) const noexcept;
    [[nodiscard]] std::unique_ptr<NodePiece> readNodes(u64 index) const;
    const NodePiece* readNodes(u64 index, NodePiece& into) const;
    [[nodiscard]] std::unique_ptr<NameHashes> readNameHashes(u64 index) const;
    template<typename Read>
    void readEach(u64 index, const StoredPiece& piece, const Read& read) const;
    [[nodiscard]] const StoredPiece* namePiece(u64 index) const noexcept;
    [[nodiscard]] std::unique_ptr<StoredPiece> readNames(u64 index) const;
    [[nodiscard]] StoredPiece load(u32 number) const;
    [[nodiscard]] Buffer loadBuffer(u32 number, DataType type, u64 count) const;
    void checkNodes(u64 index) const;

    RefersTo<PieceSource> m_source;
    ShapeTable& m_table;
    TypeRecords& m_types;
    StoredHead m_head;
    StoredShapes m_shapesOfDefinitions;
    StoredShapes m_shapes;
    RefersTo<SnapshotFile> m_file;
    RefersTo<DamageNote> m_damage;
    // Null until they are read, and for ever if they cannot be.
    mutable std::vector<std::atomic<const NodePiece*>> m_nodes;
    mutable std::vector<std::atomic<const NameHashes*>> m_nameHashes;
    mutable std::vector<std::atomic<const StoredPiece*>> m_names;
};

} // namespace qv::kelvo_sdk::impl
