#include "kelvo/sdk/impl/snapshot/snapshot_keeper.h"

#include "kelvo/base/fetch_line.h"
#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_fetch.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/record_difference.h"
#include "kelvo/sdk/impl/snapshot/record_maker.h"

#include <memory>
#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

// One thread records this many nodes at a time.
constexpr u64 nodesOfPiece = 1024;

} // namespace

SnapshotKeeper::SnapshotKeeper(Scene& scene)
    : m_scene(scene), m_line(RefersTo<SnapshotLine>::adopt(new SnapshotLine)) {
    m_scene.followNodes(this, {});
}

SnapshotKeeper::~SnapshotKeeper() {
    m_scene.followNodes(nullptr, {});
}

RefersTo<SnapshotPicture> SnapshotKeeper::take(const SnapshotOptions& options) {
    std::unique_lock lock(m_mutex);
    RefersTo<SnapshotPicture> asSet = takeAsSet(options.threads);
    if (options.values == SnapshotValues::AsSet) return asSet;
    EvaluatedRecords& records = m_line->evaluated(options.values);
    // This snapshot keeps the records before alive.
    const auto last = RefersTo<SnapshotPicture>::adopt(new SnapshotPicture(asSet, records));
    const EvaluatedRecords::Before before = records.before();
    const SnapshotVersion born = records.store().next();
    // A callback may take snapshots itself.
    lock.unlock();
    const SnapshotTables& tables = asSet->tables();
    auto own = EvaluatedRecords::evaluate(m_scene, tables, before, m_line->shapes, m_line->types,
                                          born, options);
    lock.lock();
    records.install(tables, std::move(own));
    return RefersTo<SnapshotPicture>::adopt(new SnapshotPicture(std::move(asSet), records));
}

RefersTo<SnapshotPicture> SnapshotKeeper::takeAsSet(u32 threads) {
    try {
        update(threads);
        return RefersTo<SnapshotPicture>::adopt(new SnapshotPicture(m_line, threads));
    } catch (...) {
        m_isLost = true;
        throw;
    }
}

void SnapshotKeeper::update(u32 threads) {
    const u64 numbers = m_scene.graph().end();
    if (m_isChanged.size() < numbers) makeRoom(numbers);
    followLibraries();
    if (m_isLost)
        rebuild(threads);
    else
        updateChanged();
    updateFile();
    forgetChanges();
}

void SnapshotKeeper::updateChanged() {
    if (m_changed.empty()) return;
    RecordMaker maker(m_scene, m_line->shapes, &m_line->types);
    // The list grows meanwhile.
    for (std::size_t i = 0; i < m_changed.size(); ++i) {
        fetchAhead(i);
        replace(Change(m_changed[i]), maker);
    }
    if (m_isLost) throw std::bad_alloc();
}

// Few inputs and records are in the cache. Each step reads what the one before has fetched.
void SnapshotKeeper::fetchAhead(std::size_t next) const noexcept {
    const auto at = [&](std::size_t steps) {
        return next + steps < m_changed.size() ? &m_changed[next + steps] : nullptr;
    };
    if (const Change* const change = at(12)) m_line->current.records.fetch(change->number);
    NodeFetch::ahead(next, m_changed.size(), [&](u64 index) {
        const NodeNumber number = m_changed[index].number;
        return hasOneValue(m_changed[index]) ? nullptr : m_scene.graph().node(number);
    });
    if (const Change* const change = at(4))
        NodeRecord::fetch(m_line->current.record(change->number));
    if (const Change* const change = at(4); change && change->input) {
        fetchLine(change->input, 0);
        fetchLine(change->input, 1);
    }
}

void SnapshotKeeper::replace(const Change& change, RecordMaker& maker) {
    const NodeNumber number = change.number;
    const NodeRecord* const before = m_line->current.record(number);
    if (before && hasOneValue(change))
        if (NewRecord made(maker.withValue(*before, *change.input, m_line->store.next())); made)
            return install(number, made.release());
    const Node* const node = m_scene.graph().node(number);
    NewRecord made(node ? maker.record(*node, m_line->store.next()) : nullptr);
    // Records of readers have positions of outputs.
    if (before && made && !before->shape().hasSameOutputs(made->shape()))
        visitReaders(*node, [this](const Node& reader) { nodeDescribed(reader); });
    install(number, made.release());
}

// Other libraries may define types in another way.
void SnapshotKeeper::followLibraries() {
    if (m_libraries == m_scene.libraries()) return;
    m_isLost = true;
    m_libraries = m_scene.libraries();
    m_line->types.forget();
}

void SnapshotKeeper::updateFile() {
    const Comments& now = m_scene.comments().file();
    if (now == m_file && !m_isFileLost) return;
    auto made = RefersTo<SnapshotFile>::adopt(new SnapshotFile);
    made->comments = now;
    for (UnreadLines& lines : made->comments.unread) {
        made->before.push_back(numberBehind(lines));
        lines.node = nullptr;
    }
    Comments known = now;
    m_line->current.file = std::move(made);
    m_file = std::move(known);
    m_isFileLost = false;
}

// Compares addresses alone: the node may no longer exist.
NodeNumber SnapshotKeeper::numberBehind(const UnreadLines& lines) const {
    NodeNumber number = noNumber;
    if (!lines.node) return number;
    m_scene.forEachNode([&](const Node* node) {
        if (node == lines.node) number = node->number();
    });
    return number;
}

// Keeps the record before when it is the same. Takes over the new one.
void SnapshotKeeper::install(NodeNumber number, NodeRecord* made) {
    SnapshotTables& tables = m_line->current;
    SnapshotStore& store = m_line->store;
    NewRecord record(made);
    const NodeRecord* const before = tables.record(number);
    if (before == made || (before && made && isSame(*before, *made))) return;
    const bool isRenamed = !before || !made || !before->name().equals(made->name());
    if (isRenamed && before) tables.names.remove(before->name().foldedHash(), number, store);
    if (isRenamed && made) tables.names.insert(made->name().foldedHash(), number, store);
    const NodeRecord*& place = tables.records.edit(number, store);
    place = record.release();
    if (before) store.retire(const_cast<NodeRecord*>(before));
}

void SnapshotKeeper::rebuild(u32 threads) {
    std::vector<const Node*> nodes;
    nodes.reserve(m_scene.nodeCount());
    m_scene.forEachNode([&](const Node* node) { nodes.push_back(node); });
    NewRecords records(nodes.size());
    const SnapshotVersion born = m_line->store.next();
    Workers(threads).run((nodes.size() + nodesOfPiece - 1) / nodesOfPiece, [&](u64 piece) {
        RecordMaker maker(m_scene, m_line->shapes, &m_line->types);
        const u64 end = std::min<u64>(nodes.size(), (piece + 1) * nodesOfPiece);
        for (u64 i = piece * nodesOfPiece; i < end; ++i) {
            NodeFetch::ahead(i, end, [&](u64 index) { return nodes[index]; });
            records.set(i, NewRecord(maker.record(*nodes[i], born)));
        }
    });
    SnapshotTables& tables = m_line->current;
    SnapshotStore& store = m_line->store;
    tables.clear(store);
    ++tables.orderStamp;
    ++tables.orderStampBack;
    tables.fill(std::move(records), threads, store);
    m_isLost = false;
}

void SnapshotKeeper::forgetChanges() noexcept {
    for (const Change& change : m_changed)
        m_isChanged[change.number] = m_isChangedWidely[change.number] = false;
    m_changed.clear();
}

void SnapshotKeeper::makeRoom(u64 numbers) {
    m_isChangedWidely.resize(numbers);
    m_isChanged.resize(numbers);
}

// Without memory for the list, the next snapshot reads all nodes.
void SnapshotKeeper::note(NodeNumber number, const Input* input) noexcept {
    if (m_isLost) return;
    try {
        if (number >= m_isChanged.size())
            makeRoom(std::max<u64>(2 * m_isChanged.size(), u64{number} + 1));
        if (!m_isChanged[number]) {
            m_changed.push_back({number, input});
            m_isChanged[number] = true;
        } else if (m_changed.back().number != number || m_changed.back().input != input) {
            m_isChangedWidely[number] = true;
        }
    } catch (const std::bad_alloc&) {
        m_isLost = true;
    }
}

// Tells whether nothing but the value of the input may have changed; if so, the input exists.
bool SnapshotKeeper::hasOneValue(const Change& change) const noexcept {
    return change.input && !m_isChangedWidely[change.number];
}

void SnapshotKeeper::nodeEntered(Node& node) noexcept {
    note(node.number());
}

// Another node may have the address later.
void SnapshotKeeper::nodeTakenOut(Node& node) noexcept {
    note(node.number());
    for (const UnreadLines& lines : m_file.unread)
        m_isFileLost |= lines.node == &node;
}

void SnapshotKeeper::nodeChanged(const Node& node, const Input* input, bool /*wasDirty*/) noexcept {
    if (m_scene.contains(node)) note(node.number(), input);
}

void SnapshotKeeper::nodeDescribed(const Node& node) noexcept {
    if (m_scene.contains(node)) note(node.number());
}

// A node that the last snapshot has was moved here.
void SnapshotKeeper::inserted(u64 index, NodeNumber number) noexcept {
    if (m_isLost) return;
    SnapshotTables& tables = m_line->current;
    try {
        if (index != tables.order.size() || tables.record(number)) {
            ++tables.orderStamp;
            ++tables.orderStampBack;
        }
        tables.order.insert(index, number, m_line->store);
    } catch (const std::bad_alloc&) {
        m_isLost = true;
    }
}

// A node that came back since the last snapshot may be about to be moved behind new ones.
void SnapshotKeeper::removed(u64 index) noexcept {
    if (m_isLost) return;
    SnapshotTables& tables = m_line->current;
    try {
        if (index + 1 != tables.order.size()) {
            ++tables.orderStampBack;
            if (!tables.record(tables.order.at(index))) ++tables.orderStamp;
        }
        tables.order.remove(index, m_line->store);
    } catch (const std::bad_alloc&) {
        m_isLost = true;
    }
}

} // namespace qv::kelvo_sdk::impl
