#include "kelvo/sdk/impl/snapshot/piece_recorder.h"

#include "kelvo/base/utf8.h"
#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_binder.h"
#include "kelvo/sdk/impl/scene_text/scene_checker.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Nodes with more outputs are left to the checker, which sorts them.
constexpr u64 mostOutputs = 64;

// Tells whether a text has bytes that it must not contain. Threads look at whole lines, because no
// character goes beyond one.
bool hasFaultyBytes(std::string_view text, u32 threads) {
    constexpr u64 bytesOfPiece = 1 << 20;
    std::atomic<bool> isFaulty = false;
    const auto lineFrom = [text](u64 offset) {
        const u64 end = offset == 0 ? 0 : text.find('\n', offset);
        return std::min<u64>(end, text.size());
    };
    Workers(threads).run(text.size() / bytesOfPiece + 1, [&](u64 piece) {
        const u64 first = lineFrom(piece * bytesOfPiece);
        const auto lines = text.substr(first, lineFrom((piece + 1) * bytesOfPiece) - first);
        if (utf8::firstFault(lines) != lines.size()) isFaulty = true;
    });
    return isFaulty;
}

u32 findOutput(const SnapshotShape& shape, const String& name, u32 ordinal) noexcept {
    u32 similar = noTreeIndex, met = 0;
    for (u32 i = 0; i < shape.outputs.size(); ++i) {
        const String& known = shape.outputs[i].name;
        if (!known.equalsNoCase(name)) continue;
        if (similar == noTreeIndex) similar = i;
        if (known.equals(name) && ++met == ordinal) return i;
    }
    return ordinal == 1 ? similar : noTreeIndex;
}

} // namespace

// Records all nodes but the first, whose leading comments are known when it is taken.
class PieceRecorder::Piece final : public TakenPiece {
public:
    Piece(PieceRecorder& recorder, SceneTree& tree)
        : m_recorder(recorder),
          m_tree(tree),
          m_maker(tree, recorder.m_scene, recorder.m_line.shapes, recorder.m_line.types),
          m_records(tree.nodes.size()) {
        if (!recorder.m_scene.libraries().empty()) SceneBinder(tree, recorder.m_scene).bind();
        for (u32 i = 1; i < m_records.size(); ++i)
            m_records[i] = m_maker.record(i, m_recorder.m_line.store.next());
    }

    // Nodes that are in no piece must come last.
    [[nodiscard]] bool fits() override {
        const bool isInOrder = m_recorder.m_rest->nodes.empty() || &m_tree == m_recorder.m_rest;
        if (!isInOrder) m_recorder.m_hasGivenUp = true;
        return isInOrder && !m_recorder.m_hasGivenUp;
    }
    void take(String leading) override {
        if (!leading.isEmpty())
            m_tree.extrasAt(m_tree.nodes.front().extras).comments.leading = std::move(leading);
        m_records[0] = m_maker.record(0, m_recorder.m_line.store.next());
        References& references = m_recorder.m_references.emplace_back();
        for (NewRecord& record : m_records)
            if (!m_recorder.add(std::move(record))) m_recorder.m_hasGivenUp = true;
        for (const PendingLink& link : m_maker.pendingLinks)
            references.links.push_back({link, m_tree.names.text(link.node)});
        for (const PendingConnection& connection : m_maker.pendingConnections)
            references.connections.push_back({connection, m_tree.names.text(connection.input.node),
                                              m_tree.names.text(connection.output)});
    }

private:
    PieceRecorder& m_recorder;
    SceneTree& m_tree;
    TreeRecordMaker m_maker;
    std::vector<NewRecord> m_records;
};

// The numbers of nodes in descriptions and in values kept aside have to be known when their record
// is made.
std::unique_ptr<TakenPiece> PieceRecorder::prepare(SceneTree& piece) {
    const bool isUsual = std::ranges::all_of(
        piece.links, [](const TreeLink& link) { return link.slot == TreeSlot::Value; });
    if (!isUsual) m_hasGivenUp = true;
    if (m_hasGivenUp || piece.nodes.empty()) return nullptr;
    return std::make_unique<Piece>(*this, piece);
}

bool PieceRecorder::read(std::string_view text, const ParseLimits& limits, SceneTree& rest) {
    m_maxNodes = limits.nodes;
    m_rest = &rest;
    if (hasFaultyBytes(text, limits.threads)) return false;
    TextErrors errors(text, 1);
    SceneParser parser(text, limits, rest, errors);
    parser.passPieces(*this);
    parser.parse();
    if (!errors.empty() || m_hasGivenUp) return false;
    if (!rest.nodes.empty()) {
        const auto last = prepare(rest);
        if (!last || !last->fits()) return false;
        const TreeExtras* extras = rest.extrasOf(rest.nodes.front().extras);
        last->take(extras ? extras->comments.leading : String());
    }
    return !m_hasGivenUp && resolve(limits.threads) && !hasLoops();
}

// Returns false when the name is taken, or when there are too many nodes.
bool PieceRecorder::add(NewRecord record) {
    if (m_next >= m_maxNodes || m_line.current.find(record->name())) return false;
    record->setNumber(m_next++);
    m_line.current.add(std::move(record), m_line.store);
    return true;
}

// ---- References ------------------------------------------------------------------------

bool PieceRecorder::resolve(u32 threads) {
    std::atomic<bool> isDone = true;
    Workers(threads).run(m_references.size(), [&](u64 piece) {
        const auto isResolved = [this](const auto& reference) { return resolve(reference); };
        const References& references = m_references[piece];
        if (!std::ranges::all_of(references.links, isResolved) ||
            !std::ranges::all_of(references.connections, isResolved))
            isDone = false;
    });
    return isDone;
}

bool PieceRecorder::resolve(const NamedLink& link) const {
    const NodeRecord* const target = m_line.current.find(link.node);
    if (!target) return false;
    NodeRecord& record = *link.place.record;
    const u64 number = target->number();
    std::memcpy(record.value(record.list(link.place.list), link.place.input), &number,
                sizeof number);
    return true;
}

bool PieceRecorder::resolve(const NamedConnection& connection) const {
    const PendingLink& place = connection.place.input;
    const NodeRecord* const source = m_line.current.find(connection.node);
    if (!source || source->shape().outputs.size() > mostOutputs) return false;
    const u32 output = findOutput(source->shape(), connection.output, connection.place.ordinal);
    if (output == noTreeIndex) return false;
    const ShapeOutput& from = source->shape().outputs[output];
    const ShapeInput& to = place.record->list(place.list).shape->input(place.input);
    place.record->connect(place.list, place.input, source->number(), output);
    return kindsFit(from.type, from.dataType, to.type, connection.place.boundType);
}

// Takes nodes away that feed no other node, again and again; those of a loop stay.
bool PieceRecorder::hasLoops() const {
    std::vector<u32> fed(m_next);
    const auto forEachSource = [&](NodeNumber node, const auto& visit) {
        for (const RecordConnection& from : m_line.current.record(node)->connections())
            visit(from.source);
    };
    for (NodeNumber node = 0; node < m_next; ++node)
        forEachSource(node, [&](NodeNumber source) { ++fed[source]; });
    std::vector<NodeNumber> free;
    for (NodeNumber node = 0; node < m_next; ++node)
        if (fed[node] == 0) free.push_back(node);
    for (u64 i = 0; i < free.size(); ++i)
        forEachSource(free[i], [&](NodeNumber source) {
            if (--fed[source] == 0) free.push_back(source);
        });
    return free.size() != m_next;
}

} // namespace qv::kelvo_sdk::impl
