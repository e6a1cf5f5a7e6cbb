#include "kelvo/sdk/impl/snapshot/stored_records.h"

#include "kelvo/sdk/impl/snapshot/stored_values.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u64 bytesOfList = 16;
constexpr u64 bytesOfConnection = 16;
// The bytes that the smallest comments, and comments or a stash with their place, take.
constexpr u64 bytesOfComments = 36;
constexpr u64 bytesOfStash = 16;
// Buffers up to this size are stored within their record.
constexpr u64 smallBuffer = 1024;
// In place of a number of a piece: the elements follow.
constexpr u32 noPiece = ~u32{0};

// Values of each list are stored as words of 64 bits.
u64 wordAt(const std::byte* place) noexcept {
    return NodeRecord::at<u64>(place);
}

// Tells whether an array or object may have such parts.
bool fits(const SnapshotShape& parts, const ShapeInput& owner) noexcept {
    if (owner.type == AttrType::Object) return !parts.isUniform;
    return owner.elementType == AttrType::Null ||
           std::ranges::all_of(parts.inputs, [&](const ShapeInput& element) {
               return element.type == owner.elementType;
           });
}

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

} // namespace

// ---- Writing ---------------------------------------------------------------------------

void RecordWriter::write(ByteWriter& out, const NodeRecord& record) {
    out.add(record.name().view());
    out.add(static_cast<u32>(record.lists().size()));
    for (const RecordList& list : record.lists())
        for (const u32 word :
             {m_shapes.numberOf(list.shape) - 1, list.count, list.ownerList, list.ownerInput})
            out.add(word);
    out.add(static_cast<u32>(record.connections().size()));
    for (const RecordConnection& connection : record.connections())
        for (const u32 word : {connection.list, connection.input,
                               storedNumber(m_numbers, connection.source), connection.output})
            out.add(word);
    m_heap.clear();
    for (const RecordList& list : record.lists())
        writeValues(out, record, list);
    out.add(static_cast<u32>(m_heap.size()));
    out.add(m_heap.bytes());
    out.add(u32{record.extras() != nullptr});
    if (record.extras()) writeExtras(out, *record.extras());
}

void RecordWriter::writeValues(ByteWriter& out, const NodeRecord& record, const RecordList& list) {
    for (u32 i = 0; i < list.count; ++i) {
        const AttrType type = list.shape->input(i).type;
        const std::byte* const value = record.value(list, i);
        if (Value::components(type) == 0 && type != AttrType::Null) out.add(wordOf(type, value));
        for (u32 word = 0; word < Value::components(type); ++word)
            out.add(wordAt(value + word * sizeof(u64)));
    }
}

// A text or buffer is stored as its place among those of the record plus 1, or as 0 for none.
u64 RecordWriter::wordOf(AttrType type, const std::byte* value) {
    const u64 word = wordAt(value);
    if (type == AttrType::Node) return storedNumber(m_numbers, word);
    if (type != AttrType::String && type != AttrType::Buffer) return word;
    if (word == 0) return 0;
    const u64 place = m_heap.size() + 1;
    if (type == AttrType::Buffer)
        addBuffer(NodeRecord::bufferAt(value));
    else
        m_heap.add(NodeRecord::at<const StringBuffer*>(value)->view());
    return place;
}

void RecordWriter::addBuffer(const Buffer& buffer) {
    const bool isSmall = buffer.byteSize() <= smallBuffer;
    m_heap.add(static_cast<u32>(buffer.type()));
    m_heap.add(isSmall ? noPiece : m_storeBuffer(buffer));
    m_heap.add(buffer.count());
    if (isSmall) writeElements(m_heap, buffer);
}

void RecordWriter::writeExtras(ByteWriter& out, const RecordExtras& extras) {
    impl::write(out, extras.comments);
    out.add(static_cast<u32>(extras.inputs.size()));
    for (const RecordExtras::InputComments& input : extras.inputs) {
        out.add(input.list);
        out.add(input.input);
        impl::write(out, input.comments);
    }
    out.add(static_cast<u32>(extras.outputs.size()));
    for (const RecordExtras::OutputComments& output : extras.outputs) {
        out.add(output.output);
        impl::write(out, output.comments);
    }
    out.add(static_cast<u32>(extras.stashes.size()));
    for (const RecordExtras::Stash& stash : extras.stashes) {
        out.add(stash.list);
        out.add(stash.input);
        impl::write(out, stash.value);
        out.add(storedNumber(m_numbers, stash.link));
    }
}

// ---- Reading ---------------------------------------------------------------------------

NewRecord RecordReader::read(ByteReader& in, NodeNumber number, RecordSlab* slab) {
    String name = readText(in);
    readLists(in, in.count(bytesOfList));
    readConnections(in, in.count(bytesOfConnection));
    u64 valueBytes = 0;
    for (const RecordList& list : m_lists)
        valueBytes += list.valueBytes();
    const auto words = in.bytes(valueBytes);
    const auto heap = in.bytes(in.word32());
    auto extras = readFlag(in) ? readSharedExtras(in) : RefersTo<SharedExtras>();
    if (in.isFailed()) return nullptr;
    // The first snapshot of its kind is the only one that has the record.
    NewRecord record(NodeRecord::make(1, number, std::move(name), m_lists, m_connections,
                                      std::move(extras), slab));
    m_lists.clear();
    readValues(in, *record, words, heap);
    if (in.isFailed()) record.reset();
    return record;
}

void RecordReader::dropLists() noexcept {
    for (const RecordList& list : m_lists)
        list.shape->decRef();
    m_lists.clear();
}

const SnapshotShape* RecordReader::takeShape(u32 number) {
    ShapeStock& stock = m_stocks[number];
    if (!stock.get()) {
        m_shapes[number].incRef();
        stock.reset(&m_shapes[number]);
    }
    return stock.take();
}

void RecordReader::readLists(ByteReader& in, u32 count) {
    dropLists();
    m_isPlain.clear();
    if (count == 0) in.fail();
    m_lists.reserve(count);
    m_isPlain.reserve(count);
    u64 firstValue = 0;
    for (u32 i = 0; i < count && !in.isFailed(); ++i) {
        const u32 number = in.below(m_shapes.size());
        RecordList list;
        list.count = in.word32();
        list.ownerList = in.word32();
        list.ownerInput = in.word32();
        if (in.isFailed()) return;
        const SnapshotShape& shape = m_shapes[number];
        list.firstValue = firstValue;
        firstValue += shape.isUniform ? list.count * shape.sizeOfOne : shape.valueBytes;
        if (shape.isUniform ? i == 0 : list.count != shape.inputs.size()) in.fail();
        // Values that are not there take neither memory nor time.
        if (firstValue > in.left() || list.count > in.left()) in.fail();
        if (in.isFailed()) return;
        list.shape = takeShape(number);
        m_lists.push_back(list);
        m_isPlain.push_back(m_shapes.isPlain(number));
    }
}

// Look-ups need them in order.
void RecordReader::readConnections(ByteReader& in, u32 count) {
    m_connections.clear();
    for (u32 i = 0; i < count && !in.isFailed(); ++i) {
        RecordConnection connection;
        std::tie(connection.list, connection.input) = readInput(in);
        connection.source = in.below(m_nodeCount);
        connection.output = in.word32();
        const auto placeOf = [](const RecordConnection& one) {
            return std::pair(one.list, one.input);
        };
        if (i != 0 && placeOf(m_connections.back()) >= placeOf(connection)) in.fail();
        m_connections.push_back(connection);
    }
}

std::pair<u32, u32> RecordReader::readInput(ByteReader& in) const {
    const u32 list = in.below(m_lists.size());
    return {list, in.below(list < m_lists.size() ? m_lists[list].count : 0)};
}

void RecordReader::readValues(ByteReader& in, NodeRecord& record, std::span<const std::byte> words,
                              std::span<const std::byte> heap) {
    ByteReader values(words);
    m_nextPart = 1;
    for (u32 number = 0; number < record.lists().size(); ++number) {
        const RecordList& list = record.list(number);
        if (std::endian::native == std::endian::little && m_isPlain[number]) {
            const auto plain = values.bytes(list.valueBytes());
            if (!plain.empty()) std::memcpy(record.value(list, 0), plain.data(), plain.size());
            continue;
        }
        for (u32 i = 0; i < list.count; ++i) {
            const AttrType type = list.shape->input(i).type;
            std::byte* const place = record.value(list, i);
            const u32 size = snapshotBytes(type);
            if (Value::components(type) == 0 && size != 0) {
                const u64 word = values.word64();
                if (isContainer(type)) readPart(in, record, number, i, word);
                readValue(in, type, word, place, heap);
                continue;
            }
            for (u32 at = 0; at < size; at += sizeof(u64)) {
                const u64 word = values.word64();
                std::memcpy(place + at, &word, sizeof word);
            }
        }
    }
    if (m_nextPart != record.lists().size()) in.fail();
}

// The parts of arrays and objects are the lists behind the first one, in order.
void RecordReader::readPart(ByteReader& in, const NodeRecord& record, u32 list, u32 input,
                            u64 word) {
    const u32 part = m_nextPart++;
    if (word != part || part >= record.lists().size()) return in.fail();
    const RecordList& parts = record.list(part);
    if (parts.ownerList != list || parts.ownerInput != input) in.fail();
    if (!fits(*parts.shape, record.list(list).shape->input(input))) in.fail();
}

void RecordReader::readValue(ByteReader& in, AttrType type, u64 word, std::byte* place,
                             std::span<const std::byte> heap) {
    const bool isText = type == AttrType::String, isBuffer = type == AttrType::Buffer;
    if (type == AttrType::Bool && word > 1) in.fail();
    if (type == AttrType::Node && word >= m_nodeCount && word != noNumber) in.fail();
    if ((isText || isBuffer) && word > heap.size()) in.fail();
    if (in.isFailed()) return;
    if (!isText && !isBuffer) {
        std::memcpy(place, &word, sizeof word);
    } else if (word != 0) {
        ByteReader content(heap.subspan(word - 1));
        NodeRecord::store(isText ? Value(readText(content)) : Value(readBuffer(content)), place);
        if (content.isFailed()) in.fail();
    }
}

Buffer RecordReader::readBuffer(ByteReader& in) {
    const DataType type = readElementType(in);
    const u32 piece = in.word32();
    const u64 count = in.word64(), size = dataTypeSize(type);
    if (size == 0 ? count != 0 : count > ~u64{0} / size) in.fail();
    if (in.isFailed()) return {};
    if (piece == noPiece) return copyOfElements(type, in.bytes(size * count));
    return m_loadBuffer(piece, type, count);
}

// Extras that name no input or output mean the same in every node, and successive nodes often have
// the same.
RefersTo<SharedExtras> RecordReader::readSharedExtras(ByteReader& in) {
    if (m_extras && in.skip(m_bytesOfExtras)) return m_extras;
    const u64 begin = in.position();
    auto read = RefersTo<SharedExtras>::adopt(new SharedExtras(readExtras(in)));
    const RecordExtras& parts = read->parts;
    if (in.isFailed() || !parts.inputs.empty() || !parts.outputs.empty() || !parts.stashes.empty())
        return read;
    m_bytesOfExtras = in.since(begin);
    return m_extras = std::move(read);
}

RecordExtras RecordReader::readExtras(ByteReader& in) {
    RecordExtras extras;
    const auto isInOrder = [](const auto& parts) {
        return std::ranges::is_sorted(
            parts, {}, [](const auto& part) { return std::pair(part.list, part.input); });
    };
    extras.comments = readComments(in);
    for (u32 left = in.count(bytesOfComments); left > 0; --left) {
        const auto [list, input] = readInput(in);
        extras.inputs.push_back({list, input, readComments(in)});
    }
    for (u32 left = in.count(bytesOfComments); left > 0; --left) {
        const u32 output = in.below(m_lists.empty() ? 0 : m_lists[0].shape->outputs.size());
        extras.outputs.push_back({output, readComments(in)});
    }
    for (u32 left = in.count(bytesOfStash); left > 0; --left) {
        const auto [list, input] = readInput(in);
        Value value = impl::readValue(in);
        const u32 link = in.word32();
        if (link >= m_nodeCount && link != noNumber) in.fail();
        extras.stashes.push_back({list, input, std::move(value), link});
    }
    if (!isInOrder(extras.inputs) || !isInOrder(extras.stashes)) in.fail();
    return extras;
}

} // namespace qv::kelvo_sdk::impl
