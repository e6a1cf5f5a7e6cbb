#include "kelvo/sdk/impl/snapshot/stored_nodes.h"

#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/snapshot/stored_names.h"
#include "kelvo/sdk/impl/snapshot/stored_values.h"

#include <algorithm>
#include <bit>
#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

// Ends the reading of a piece.
struct Damaged {
    Result reason;
};

[[noreturn]] void fail(const PieceSource& source, u32 piece, u64 byte, const char* subject) {
    throw Damaged{Result::failure(
        String::format("%s: %s cannot be read, because the data are damaged or were written by "
                       "a faulty program.",
                       source.placeOf(piece, byte).buf(), subject))};
}

// Calls `read` and notes its damage. Returns null then.
template<typename Read>
auto readOrNote(const DamageNote& damage, const Read& read) noexcept -> decltype(read()) {
    try {
        return read();
    } catch (const Damaged& damaged) {
        damage.note(damaged.reason);
    } catch (const std::bad_alloc&) {
        try {
            damage.note(Result::failure("Memory does not suffice to read the snapshot."));
        } catch (const std::bad_alloc&) {
        }
    }
    return nullptr;
}

// Puts what was read into its place, unless another thread did so meanwhile.
template<typename T>
const T* keep(std::atomic<const T*>& place, std::unique_ptr<T> made) noexcept {
    const T* known = nullptr;
    if (!made || !place.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel))
        return known;
    return made.release();
}

// The elements of a large buffer, which are checked when they are first read.
class StoredElements final : public ForeignElements {
public:
    StoredElements(RefersTo<PieceSource> source, u32 number, StoredPiece piece,
                   RefersTo<DamageNote> damage) noexcept
        : m_source(std::move(source)),
          m_number(number),
          m_piece(std::move(piece)),
          m_damage(std::move(damage)) {}

    [[nodiscard]] bool areSound() const noexcept override {
        State known = m_state.load(std::memory_order_acquire);
        if (known != State::Unknown) return known == State::Sound;
        try {
            const Result found = m_source->check(m_number);
            if (!found) m_damage->note(found);
            known = found ? State::Sound : State::Damaged;
            m_state.store(known, std::memory_order_release);
        } catch (const std::bad_alloc&) {
        }
        return known == State::Sound;
    }

private:
    enum class State : u8 { Unknown, Sound, Damaged };

    RefersTo<PieceSource> m_source;
    u32 m_number;
    StoredPiece m_piece;
    RefersTo<DamageNote> m_damage;
    mutable std::atomic<State> m_state = State::Unknown;
};

bool areBuffersSound(const NodeRecord& record) noexcept {
    bool areSound = true;
    for (const RecordList& list : record.lists())
        for (u32 i = 0; i < list.count; ++i)
            if (list.shape->input(i).type == AttrType::Buffer)
                areSound = NodeRecord::bufferAt(record.value(list, i)).isSound() && areSound;
    return areSound;
}

} // namespace

void DamageNote::note(const Result& damage) const noexcept {
    const std::lock_guard lock(m_mutex);
    if (m_first) m_first = damage;
}

Result DamageNote::first() const {
    const std::lock_guard lock(m_mutex);
    return m_first;
}

struct StoredNodes::NodePiece {
    NodePiece() : slab(0) {}
    ~NodePiece() { endRecords(); }
    // Prepares for other nodes.
    void reuse(u32 count) noexcept {
        endRecords();
        slab.reuse(count);
    }
    void endRecords() noexcept {
        constexpr u64 ahead = 4;
        for (u64 i = 0; i < records.size(); ++i) {
            if (i + ahead < records.size()) NodeRecord::fetch(records[i + ahead].get());
            records[i].reset();
        }
    }
    NodePiece(const NodePiece&) = delete;
    NodePiece& operator=(const NodePiece&) = delete;

    RecordSlab slab;
    std::array<NewRecord, StoredHead::nodesOfPiece> records = {};
};

StoredNodes::StoredNodes(RefersTo<PieceSource> source, ShapeTable& shapes, TypeRecords& types)
    : m_source(std::move(source)),
      m_table(shapes),
      m_types(types),
      m_damage(RefersTo<DamageNote>::adopt(new DamageNote)) {}

StoredNodes::~StoredNodes() {
    for (const auto& piece : m_nodes)
        delete piece.load(std::memory_order_acquire);
    for (const auto& hashes : m_nameHashes)
        delete hashes.load(std::memory_order_acquire);
    for (const auto& piece : m_names)
        delete piece.load(std::memory_order_acquire);
}

// ---- The scene as a whole --------------------------------------------------------------

Result StoredNodes::open() {
    try {
        readHead();
        readTypes();
        readFile();
        m_nodes = std::vector<std::atomic<const NodePiece*>>(m_head.nodes.size());
        m_nameHashes = std::vector<std::atomic<const NameHashes*>>(m_head.nodes.size());
        m_names = std::vector<std::atomic<const StoredPiece*>>(m_head.names.size());
        return {};
    } catch (const Damaged& damaged) {
        return damaged.reason;
    }
}

void StoredNodes::readHead() {
    const u32 count = m_source->pieceCount();
    if (count == 0) throw Damaged{Result::failure("The stored snapshot has no pieces.")};
    const StoredPiece piece = load(count - 1);
    ByteReader in(piece.bytes);
    m_head = StoredHead::read(in, count);
    if (in.isFailed()) fail(*m_source, count - 1, in.position(), "the list of all parts");
}

void StoredNodes::readTypes() {
    const StoredPiece piece = load(m_head.shapes);
    ByteReader in(piece.bytes);
    const StoredDetails details = readAllDetails(in);
    const auto definitions = readDefinitions(in, details);
    m_shapes.read(in, m_head.nodeCount, details, definitions, m_table);
    if (in.isFailed() || !in.isAtEnd())
        fail(*m_source, m_head.shapes, in.position(), "the types of the nodes");
}

std::vector<const NodeRecord*> StoredNodes::readDefinitions(ByteReader& in,
                                                            const StoredDetails& details) {
    std::vector<const NodeRecord*> definitions{nullptr};
    // Definitions have no definitions themselves.
    m_shapesOfDefinitions.read(in, 0, details, definitions, m_table);
    RecordReader reader(m_shapesOfDefinitions, 0, [this](u32 buffer, DataType type, u64 count) {
        return loadBuffer(buffer, type, count);
    });
    for (u32 left = in.count(sizeof(u32)); left > 0 && !in.isFailed(); --left)
        if (NewRecord definition = reader.read(in, noNumber))
            definitions.push_back(m_types.adopt(std::move(definition)));
    return definitions;
}

void StoredNodes::readFile() {
    const StoredPiece piece = load(m_head.file);
    ByteReader in(piece.bytes);
    if (readFlag(in)) {
        m_file = RefersTo<SnapshotFile>::adopt(new SnapshotFile);
        m_file->comments = readComments(in);
        for (u64 i = 0; i < m_file->comments.unread.size(); ++i) {
            const u32 number = in.word32();
            if (number >= m_head.nodeCount && number != noNumber) in.fail();
            m_file->before.push_back(number);
        }
    }
    if (in.isFailed() || !in.isAtEnd())
        fail(*m_source, m_head.file, in.position(), "the comments of the scene");
}

StoredPiece StoredNodes::load(u32 number) const {
    StoredPiece piece;
    if (const Result found = m_source->piece(number, piece); !found) throw Damaged{found};
    return piece;
}

// ---- Nodes -----------------------------------------------------------------------------

const NodeRecord* StoredNodes::record(NodeNumber number) const noexcept {
    if (number >= m_head.nodeCount) return nullptr;
    const NodePiece* piece = nodePiece(number / StoredHead::nodesOfPiece);
    return piece ? piece->records[number % StoredHead::nodesOfPiece].get() : nullptr;
}

const StoredNodes::NodePiece* StoredNodes::nodePiece(u64 index) const noexcept {
    std::atomic<const NodePiece*>& place = m_nodes[index];
    if (const NodePiece* known = place.load(std::memory_order_acquire)) return known;
    return keep(place, readOrNote(*m_damage, [&] { return readNodes(index); }));
}

void StoredNodes::visit(u32 begin, u32 end,
                        const std::function<void(const NodeRecord&)>& visit) const {
    constexpr u32 size = StoredHead::nodesOfPiece;
    end = std::min(end, m_head.nodeCount);
    NodePiece own;
    for (u32 next = begin; next < end;) {
        const u32 index = next / size, endOfPiece = std::min(end, (index + 1) * size);
        const NodePiece* piece = m_nodes[index].load(std::memory_order_acquire);
        if (!piece) piece = readOrNote(*m_damage, [&] { return readNodes(index, own); });
        for (; next < endOfPiece; ++next)
            if (piece) visit(*piece->records[next % size]);
    }
}

// Calls `read(in, i)` for each node of a piece, with a reader at its beginning.
template<typename Read>
void StoredNodes::readEach(u64 index, const StoredPiece& piece, const Read& read) const {
    const u32 number = m_head.nodes[index], count = m_head.nodesIn(index);
    ByteReader places(piece.bytes);
    for (u32 i = 0; i < count; ++i) {
        const u64 begin = places.word32();
        if (begin > piece.bytes.size()) places.fail();
        if (places.isFailed()) fail(*m_source, number, places.position(), "the nodes");
        ByteReader in(piece.bytes.subspan(begin));
        if (!read(in, i)) fail(*m_source, number, begin + in.position(), "a node");
    }
}

std::unique_ptr<StoredNodes::NodePiece> StoredNodes::readNodes(u64 index) const {
    auto made = std::make_unique<NodePiece>();
    readNodes(index, *made);
    return made;
}

// Returns the piece with the nodes.
const StoredNodes::NodePiece* StoredNodes::readNodes(u64 index, NodePiece& into) const {
    const StoredPiece piece = load(m_head.nodes[index]);
    RecordReader reader(m_shapes, m_head.nodeCount, [this](u32 buffer, DataType type, u64 count) {
        return loadBuffer(buffer, type, count);
    });
    into.reuse(m_head.nodesIn(index));
    readEach(index, piece, [&](ByteReader& in, u32 i) {
        const auto node = static_cast<NodeNumber>(index * StoredHead::nodesOfPiece + i);
        into.records[i] = reader.read(in, node, &into.slab);
        return into.records[i] != nullptr;
    });
    return &into;
}

Buffer StoredNodes::loadBuffer(u32 number, DataType type, u64 count) const {
    if (number >= m_source->pieceCount())
        throw Damaged{Result::failure("A buffer of the stored snapshot does not exist.")};
    StoredPiece piece;
    if (const Result found = m_source->buffer(number, piece); !found) throw Damaged{found};
    if (count * dataTypeSize(type) != piece.bytes.size()) fail(*m_source, number, 0, "a buffer");
    const bool isAligned = std::bit_cast<std::uintptr_t>(piece.bytes.data()) % pieceAlignment == 0;
    if (std::endian::native == std::endian::little && isAligned) {
        const void* const elements = piece.bytes.data();
        return Buffer::inPlace(type, elements, count,
                               RefersTo<ForeignElements>::adopt(new StoredElements(
                                   m_source, number, std::move(piece), m_damage)));
    }
    if (const Result found = m_source->check(number); !found) throw Damaged{found};
    return copyOfElements(type, piece.bytes);
}

// ---- Names -----------------------------------------------------------------------------

u64 StoredNodes::nameHash(NodeNumber number) const noexcept {
    if (number >= m_head.nodeCount) return 0;
    const u64 index = number / StoredHead::nodesOfPiece, i = number % StoredHead::nodesOfPiece;
    if (const NodePiece* known = m_nodes[index].load(std::memory_order_acquire))
        return known->records[i]->name().hash();
    std::atomic<const NameHashes*>& place = m_nameHashes[index];
    const NameHashes* hashes = place.load(std::memory_order_acquire);
    if (!hashes) hashes = keep(place, readOrNote(*m_damage, [&] { return readNameHashes(index); }));
    return hashes ? (*hashes)[i] : 0;
}

std::unique_ptr<StoredNodes::NameHashes> StoredNodes::readNameHashes(u64 index) const {
    const StoredPiece piece = load(m_head.nodes[index]);
    auto made = std::make_unique<NameHashes>();
    readEach(index, piece, [&](ByteReader& in, u32 i) {
        (*made)[i] = readText(in).hash();
        return !in.isFailed();
    });
    return made;
}

const NodeRecord* StoredNodes::find(const NameView& name) const noexcept {
    const u32 places = StoredNames::placesFor(m_head.nodeCount);
    const auto hash = static_cast<u32>(name.foldedHash());
    u32 place = hash & (places - 1);
    // A damaged table may have no empty place.
    for (u32 left = places; left > 0; --left, place = (place + 1) & (places - 1)) {
        const StoredPiece* piece = namePiece(place / StoredHead::placesOfPiece);
        if (!piece) return nullptr;
        const auto found = StoredNames::read(piece->bytes, place % StoredHead::placesOfPiece);
        if (found.number == 0) return nullptr;
        if (found.hash != hash) continue;
        const NodeRecord* node = record(found.number - 1);
        if (node && node->name().equalsNoCase(name.text())) return node;
    }
    return nullptr;
}

const StoredPiece* StoredNodes::namePiece(u64 index) const noexcept {
    std::atomic<const StoredPiece*>& place = m_names[index];
    if (const StoredPiece* known = place.load(std::memory_order_acquire)) return known;
    return keep(place, readOrNote(*m_damage, [&] { return readNames(index); }));
}

std::unique_ptr<StoredPiece> StoredNodes::readNames(u64 index) const {
    const u32 number = m_head.names[index];
    auto piece = std::make_unique<StoredPiece>(load(number));
    const u64 places = StoredNames::placesFor(m_head.nodeCount);
    const u64 expected =
        std::min<u64>(places - index * StoredHead::placesOfPiece, StoredHead::placesOfPiece);
    if (piece->bytes.size() != expected * StoredNames::bytesOfPlace)
        fail(*m_source, number, piece->bytes.size(), "the table of names");
    return piece;
}

// ---- Everything ------------------------------------------------------------------------

void StoredNodes::readAll() const {
    Workers().run(m_nodes.size(), [this](u64 index) { static_cast<void>(nodePiece(index)); });
}

Result StoredNodes::verify() const {
    if (const Result known = damage(); !known) return known;
    Workers().run(m_nodes.size(), [this](u64 index) { checkNodes(index); });
    return damage();
}

// Nodes, their buffers, and the places of their names.
void StoredNodes::checkNodes(u64 index) const {
    const NodePiece* piece = nodePiece(index);
    for (u32 i = 0; piece && i < m_head.nodesIn(index); ++i) {
        const NodeRecord& node = *piece->records[i];
        static_cast<void>(areBuffersSound(node));
        for (const RecordConnection& connection : node.connections()) {
            const NodeRecord* source = record(connection.source);
            if (source && connection.output >= source->shape().outputs.size())
                m_damage->note(Result::failure(String::format(
                    "Node '%s' is connected to an output that node '%s' does not have.",
                    node.name().buf(), source->name().buf())));
        }
        if (find(NameView(node.name())) != &node)
            m_damage->note(Result::failure(
                String::format("Node '%s' cannot be found by its name in the stored snapshot.",
                               node.name().buf())));
    }
}

} // namespace qv::kelvo_sdk::impl
