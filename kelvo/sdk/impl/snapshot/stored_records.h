#pragma once

#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/impl/snapshot/stored_shapes.h"
#include "kelvo/sdk/snapshot_pieces.h"

#include <functional>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Writes records in their stored form. Texts follow the values of their record; so do small
/// buffers, while large ones are pieces of their own, each once.
class RecordWriter {
public:
    /// Stores the elements of a large buffer and returns the number of their piece.
    using StoreBuffer = std::function<u32(const Buffer&)>;

    /// Borrows both.
    RecordWriter(FirstUses<SnapshotShape>& shapes, const StoredNumbers& numbers,
                 StoreBuffer storeBuffer)
        : m_shapes(shapes), m_numbers(numbers), m_storeBuffer(std::move(storeBuffer)) {}

    void write(ByteWriter& out, const NodeRecord& record);

private:
    void writeValues(ByteWriter& out, const NodeRecord& record, const RecordList& list);
    [[nodiscard]] u64 wordOf(AttrType type, const std::byte* value);
    void addBuffer(const Buffer& buffer);
    void writeExtras(ByteWriter& out, const RecordExtras& extras);

    FirstUses<SnapshotShape>& m_shapes;
    const StoredNumbers& m_numbers;
    StoreBuffer m_storeBuffer;
    // The texts and buffers of the current record.
    ByteWriter m_heap;
};

/// Makes records from their stored form.
class RecordReader {
public:
    /// Returns the elements of a large buffer.
    using LoadBuffer = std::function<Buffer(u32 piece, DataType type, u64 count)>;

    /// Borrows the shapes.
    RecordReader(const StoredShapes& shapes, u32 nodeCount, LoadBuffer loadBuffer)
        : m_shapes(shapes), m_nodeCount(nodeCount), m_loadBuffer(std::move(loadBuffer)) {}
    ~RecordReader() { dropLists(); }
    RecordReader(const RecordReader&) = delete;
    RecordReader& operator=(const RecordReader&) = delete;

    /// Returns null when the reader has failed. The bytes must stay valid as long as this object;
    /// `NodeRecord::make` describes the slab.
    [[nodiscard]] NewRecord read(ByteReader& in, NodeNumber number, RecordSlab* slab = nullptr);

private:
    void readLists(ByteReader& in, u32 count);
    void readConnections(ByteReader& in, u32 count);
    void readValues(ByteReader& in, NodeRecord& record, std::span<const std::byte> words,
                    std::span<const std::byte> heap);
    void readValue(ByteReader& in, AttrType type, u64 word, std::byte* place,
                   std::span<const std::byte> heap);
    void readPart(ByteReader& in, const NodeRecord& record, u32 list, u32 input, u64 word);
    [[nodiscard]] Buffer readBuffer(ByteReader& in);
    [[nodiscard]] RefersTo<SharedExtras> readSharedExtras(ByteReader& in);
    [[nodiscard]] RecordExtras readExtras(ByteReader& in);
    [[nodiscard]] std::pair<u32, u32> readInput(ByteReader& in) const;
    [[nodiscard]] const SnapshotShape* takeShape(u32 number);
    void dropLists() noexcept;

    const StoredShapes& m_shapes;
    u32 m_nodeCount;
    LoadBuffer m_loadBuffer;
    std::vector<RecordList> m_lists;
    std::vector<bool> m_isPlain;
    // By number of the shape.
    std::unordered_map<u32, ShapeStock> m_stocks;
    std::vector<RecordConnection> m_connections;
    u32 m_nextPart = 0;
    // The last extras that belong to a node alone, and their bytes; empty for none.
    RefersTo<SharedExtras> m_extras;
    std::span<const std::byte> m_bytesOfExtras;
};

} // namespace qv::kelvo_sdk::impl
