#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/impl/snapshot/stored_head.h"
#include "kelvo/sdk/impl/snapshot/stored_names.h"
#include "kelvo/sdk/impl/snapshot/stored_records.h"
#include "kelvo/sdk/impl/snapshot/stored_values.h"
#include "kelvo/sdk/snapshot_pieces.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk {

namespace impl {

namespace {

// Ends the storing; caught where it begins.
struct StoringFailed {
    Result reason;
};

// Stores one snapshot, piece by piece.
class Storing {
public:
    Storing(const SnapshotTables& tables, PieceSink& sink)
        : m_tables(tables),
          m_sink(sink),
          m_records(m_shapes, m_numbers, [this](const Buffer& buffer) { return store(buffer); }) {}

    void run() {
        numberNodes();
        for (u64 first = 0; first < m_nodes.size(); first += StoredHead::nodesOfPiece)
            storeNodes(first, std::min(first + StoredHead::nodesOfPiece, m_nodes.size()));
        storeNames();
        m_head.nodeCount = static_cast<u32>(m_nodes.size());
        storeTypes();
        ByteWriter out;
        writeFile(out);
        m_head.file = take(out.bytes());
        out.clear();
        m_head.write(out);
        take(out.bytes());
    }

private:
    void numberNodes() {
        m_tables.forEachRecord([this](const NodeRecord& record) {
            if (record.number() >= m_numbers.size())
                m_numbers.resize(u64{record.number()} + 1, noNumber);
            m_numbers[record.number()] = static_cast<NodeNumber>(m_nodes.size());
            m_nodes.push_back(&record);
        });
        if (m_nodes.size() >= StoredHead::mostNodes)
            throw StoringFailed{Result::failure("A stored snapshot has at most 2^30 nodes.")};
    }

    // In front of the nodes the piece says where each of them begins.
    void storeNodes(u64 first, u64 end) {
        ByteWriter out;
        for (u64 i = first; i < end; ++i)
            out.add(u32{0});
        for (u64 i = first; i < end; ++i) {
            out.set((i - first) * sizeof(u32), static_cast<u32>(out.size()));
            m_records.write(out, *m_nodes[i]);
            if (out.size() > ~u32{0}) fail(*m_nodes[i]);
        }
        m_head.nodes.push_back(take(out.bytes()));
    }

    [[noreturn]] static void fail(const NodeRecord& record) {
        throw StoringFailed{Result::failure(
            String::format("The values of node '%s' and of its neighbours take more than 4 GiB, "
                           "and a snapshot cannot be stored with that many.",
                           record.name().buf()))};
    }

    void storeNames() {
        StoredNames names(static_cast<u32>(m_nodes.size()));
        for (u32 i = 0; i < m_nodes.size(); ++i)
            names.add(m_nodes[i]->name().foldedHash(), i);
        for (u32 first = 0; first < names.places(); first += StoredHead::placesOfPiece) {
            ByteWriter out;
            names.write(out, first, std::min(first + StoredHead::placesOfPiece, names.places()));
            m_head.names.push_back(take(out.bytes()));
        }
    }

    // Descriptions and definitions come before the shapes that have them.
    void storeTypes() {
        FirstUses<AttrDetails> details;
        FirstUses<NodeRecord> definitions, none;
        FirstUses<SnapshotShape> ofDefinitions;
        ByteWriter shapes, records, shapesOfDefinitions, out;
        write(shapes, m_shapes, m_numbers, details, definitions);
        records.add(static_cast<u32>(definitions.list().size()));
        // Definitions name no nodes of the scene.
        const StoredNumbers noNodes;
        RecordWriter writer(ofDefinitions, noNodes,
                            [this](const Buffer& buffer) { return store(buffer); });
        for (const NodeRecord* definition : definitions.list())
            writer.write(records, *definition);
        write(shapesOfDefinitions, ofDefinitions, {}, details, none);
        write(out, details);
        for (const ByteWriter* part : {&shapesOfDefinitions, &records, &shapes})
            out.add(part->bytes());
        m_head.shapes = take(out.bytes());
    }

    void writeFile(ByteWriter& out) const {
        out.add(u32{m_tables.file ? 1U : 0U});
        if (!m_tables.file) return;
        write(out, m_tables.file->comments);
        for (const NodeNumber number : m_tables.file->before)
            out.add(storedNumber(m_numbers, number));
    }

    // Snapshots share buffers, and so do nodes: each is stored once.
    u32 store(const Buffer& buffer) {
        const auto [known, isNew] = m_buffers.try_emplace(buffer.data(), 0);
        if (!isNew) return known->second;
        if constexpr (std::endian::native == std::endian::little) {
            known->second =
                take({static_cast<const std::byte*>(buffer.data()), buffer.byteSize()}, true);
        } else {
            ByteWriter out;
            writeElements(out, buffer);
            known->second = take(out.bytes(), true);
        }
        return known->second;
    }

    u32 take(std::span<const std::byte> bytes, bool isBuffer = false) {
        if (Result taken = m_sink.take(bytes, isBuffer); !taken) throw StoringFailed{taken};
        return m_pieces++;
    }

    const SnapshotTables& m_tables;
    PieceSink& m_sink;
    std::vector<const NodeRecord*> m_nodes;
    StoredNumbers m_numbers;
    std::unordered_map<const void*, u32> m_buffers;
    FirstUses<SnapshotShape> m_shapes;
    RecordWriter m_records;
    StoredHead m_head;
    u32 m_pieces = 0;
};

} // namespace

} // namespace impl

Result storeSnapshot(const Snapshot& snapshot, PieceSink& sink) {
    if (!snapshot) return Result::failure("There is no snapshot to store.");
    if (Result whole = snapshot.verify(); !whole) return whole;
    const auto& picture = static_cast<const impl::SnapshotPicture&>(*snapshot.get());
    try {
        impl::Storing(picture.tables(), sink).run();
        return {};
    } catch (const impl::StoringFailed& failed) {
        return failed.reason;
    } catch (const std::bad_alloc&) {
        return Result::failure("Memory does not suffice to store the snapshot.");
    }
}

} // namespace qv::kelvo_sdk
