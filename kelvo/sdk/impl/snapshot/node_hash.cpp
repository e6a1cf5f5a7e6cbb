#include "kelvo/sdk/impl/snapshot/node_hash.h"

#include "kelvo/sdk/impl/graph/known_names.h"

#include "kelvo/base/hash.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

u64 nonZero(u64 hash) noexcept {
    return hash != 0 ? hash : 1;
}

// Follows the rules of the live node and its inputs.
class LiveHash {
public:
    LiveHash(const NodeRecord& record, const SnapshotTables& tables)
        : m_record(record), m_tables(tables) {
        if (record.lists().size() > 1) m_hashes.resize(record.lists().size());
    }

    [[nodiscard]] u64 ofNode() {
        hashLists();
        const KnownNames& known = knownNames();
        const bool isPathNode = m_record.shape().isTypeOf(known.path);
        u64 seed = m_record.name().hash();
        for (u32 i = 0; i < m_record.list(0).count; ++i) {
            if (isPathNode && m_record.shape().input(i).name.equals(known.dir)) continue;
            if (const u64 h = hashOfInput(0, i))
                seed ^= h + 0x9e3779b9u + (seed << 6) + (seed >> 2);
        }
        return seed;
    }
    [[nodiscard]] u64 ofInput(u32 list, u32 input) {
        hashLists();
        return hashOfInput(list, input);
    }

private:
    // The lists inside a list come after it.
    void hashLists() {
        for (u64 list = m_hashes.size(); list-- > 1;)
            m_hashes[list] = hashOfParts(static_cast<u32>(list));
    }
    [[nodiscard]] u64 hashOfParts(u32 number) const {
        const RecordList& list = m_record.list(number);
        if (list.count == 0) return 0;
        const AttrType owner = m_record.list(list.ownerList).shape->input(list.ownerInput).type;
        u64 hash = hashMix(static_cast<u64>(owner), list.count);
        for (u32 i = 0; i < list.count; ++i) {
            if (owner == AttrType::Object) hash = hashMix(hash, list.shape->input(i).name.hash());
            hash = hashMix(hash, hashOfInput(number, i));
        }
        return nonZero(hash);
    }
    [[nodiscard]] u64 hashOfInput(u32 number, u32 i) const {
        const RecordList& list = m_record.list(number);
        const AttrType type = list.shape->input(i).type;
        const std::byte* const place = m_record.value(list, i);
        if (isContainer(type)) return m_hashes[NodeRecord::at<u64>(place)];
        if (const RecordConnection* found = m_record.connectionOf(number, i))
            return hashOfConnection(*found);
        if (type != AttrType::Node) return NodeRecord::hashOf(type, place);
        return m_tables.nameHash(static_cast<NodeNumber>(NodeRecord::at<u64>(place)));
    }
    [[nodiscard]] u64 hashOfConnection(const RecordConnection& connection) const {
        const NodeRecord* const source = m_tables.record(connection.source);
        const ShapeOutput* const output =
            source ? source->shape().output(connection.output) : nullptr;
        return output ? nonZero(hashMix(source->name().hash(), output->name.hash())) : 0;
    }

    const NodeRecord& m_record;
    const SnapshotTables& m_tables;
    // Of the lists, by number; empty for a node without arrays and objects.
    std::vector<u64> m_hashes;
};

bool isPlain(AttrType type) noexcept {
    return type != AttrType::String && type != AttrType::Buffer && type != AttrType::Node &&
           !isContainer(type);
}

u64 hashOfKind(const ShapeInput& input) noexcept {
    return hashMix(static_cast<u64>(input.type), static_cast<u64>(input.elementType));
}

} // namespace

u64 liveHashOf(const NodeRecord& record, const SnapshotTables& tables) {
    return LiveHash(record, tables).ofNode();
}

u64 liveHashOf(const NodeRecord& record, const SnapshotTables& tables, u32 list, u32 input) {
    return LiveHash(record, tables).ofInput(list, input);
}

u64 ContentHasher::of(const NodeRecord& record) {
    if (const u64 known = record.keptHash()) return known;
    u64 hash = record.name().hash();
    for (const RecordList& list : record.lists())
        hash = hashList(record, list, hash);
    for (const RecordConnection& connection : record.connections())
        hash = hashMix(hash, u64{connection.list} << 32 | connection.input);
    record.keepHash(hash);
    return hash;
}

// The number of a list counts nowhere: it follows from the kinds of the inputs before.
u64 ContentHasher::hashList(const NodeRecord& record, const RecordList& list, u64 hash) {
    const ShapeFacts& facts = factsOf(*list.shape);
    hash = hashMix(hashMix(hash, facts.hash), list.count);
    if (list.count == 0) return hash;
    if (facts.isPlain)
        return hashWords(record.value(list, 0), list.valueBytes() / sizeof(u64), hash);
    for (u32 i = 0; i < list.count; ++i) {
        const AttrType type = list.shape->input(i).type;
        if (type != AttrType::Node && !isContainer(type))
            hash = hashMix(hash, NodeRecord::hashOf(type, record.value(list, i)));
    }
    return hash;
}

// The elements of an array have no names and may be of one kind without being alike in marks, so
// each kind counts where it differs from the one before.
const ContentHasher::ShapeFacts& ContentHasher::factsOf(const SnapshotShape& shape) {
    if (&shape == m_lastShape) return *m_lastFacts;
    const auto [found, isNew] = m_shapes.try_emplace(&shape);
    ShapeFacts& facts = found->second;
    m_lastShape = &shape;
    m_lastFacts = &facts;
    if (!isNew) return facts;
    facts.hash = shape.type.hash();
    for (u64 i = 0; i < shape.bases.size(); ++i)
        facts.hash = hashMix(facts.hash, shape.bases[i].hash());
    for (const ShapeOutput& output : shape.outputs)
        facts.hash =
            hashMix(hashMix(facts.hash, output.name.hash()),
                    hashMix(static_cast<u64>(output.type), static_cast<u64>(output.dataType)));
    const ShapeInput* before = nullptr;
    for (u64 i = 0; i < shape.inputs.size(); ++i) {
        const ShapeInput& input = shape.inputs[i];
        facts.isPlain = facts.isPlain && isPlain(input.type);
        const bool isAlike =
            before && input.name.isEmpty() && hashOfKind(*before) == hashOfKind(input);
        if (!isAlike)
            facts.hash =
                hashMix(facts.hash, hashMix(input.name.hash(), hashMix(i, hashOfKind(input))));
        before = &input;
    }
    return facts;
}

} // namespace qv::kelvo_sdk::impl
