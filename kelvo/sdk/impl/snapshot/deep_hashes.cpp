// Nodes that depend on each other in a cycle are a group. The hash of a node that is its own group
// has those of its dependencies. In a larger group the hash of each node has the names of the
// others that it depends on, and a hash of the whole group.

#include "kelvo/sdk/impl/snapshot/deep_hashes.h"

#include "kelvo/sdk/impl/snapshot/node_hash.h"

#include "kelvo/base/fetch_line.h"
#include "kelvo/base/hash.h"
#include "kelvo/base/workers.h"

#include <algorithm>
#include <span>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Nodes whose contents one thread hashes at a time.
constexpr u64 nodesOfPiece = 4096;

} // namespace

DeepHashes::Table::Table(SnapshotStore& store, const SharedArray<u64>& hashes, u64 ofAll) noexcept
    : m_store(store), m_hashes(hashes), m_ofAll(ofAll) {
    m_store.open(m_entry);
}

std::unique_ptr<DeepHashes::Table> DeepHashes::make(const Records& records, Uses uses,
                                                    u32 threads) {
    const std::lock_guard lock(m_mutex);
    try {
        follow(records, threads);
        m_uses = std::move(uses);
        m_records = records;
        auto made = std::make_unique<Table>(m_store, m_hashes, hashMix(m_sum, hashOfNothing));
        if (m_uses.empty()) forget();
        return made;
    } catch (...) {
        forget();
        throw;
    }
}

void DeepHashes::forget() noexcept {
    m_uses.clear();
    m_records = {};
    m_dependencies.clear();
    m_hashes.clear(m_store);
    m_sum = 0;
}

void DeepHashes::follow(const Records& records, u32 threads) {
    ++m_walk;
    m_reached = m_groups = 0;
    for (auto* list : {&m_affected, &m_leads, &m_ungrouped})
        list->clear();
    m_steps.clear();
    markDifferences(records, threads);
    markReaders();
    ContentHasher hasher;
    for (std::size_t i = 0; i < m_affected.size(); ++i) {
        if (i + 8 < m_affected.size()) NodeRecord::fetch(records.at(m_affected[i + 8]));
        const NodeNumber node = m_affected[i];
        if (!records.at(node))
            store(node, 0);
        else if (m_marks[node].index == 0)
            visitFrom(node, records, hasher);
    }
}

void DeepHashes::markDifferences(const Records& records, u32 threads) {
    Records::forEachDifference(m_records, records,
                               [this](NodeNumber node, const NodeRecord* /*before*/,
                                      const NodeRecord* /*after*/) { mark(node); });
    hashContents(records, threads);
    const std::size_t count = m_affected.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i + 8 < count) NodeRecord::fetch(records.at(m_affected[i + 8]));
        m_dependencies.set(m_affected[i], records.at(m_affected[i]));
    }
}

// Passes over the memory in its order. The records keep the hashes.
void DeepHashes::hashContents(const Records& records, u32 threads) const {
    const u64 count = m_affected.size();
    Workers(threads).run((count + nodesOfPiece - 1) / nodesOfPiece, [&](u64 piece) {
        ContentHasher hasher;
        const u64 end = std::min(count, (piece + 1) * nodesOfPiece);
        for (u64 i = piece * nodesOfPiece; i < end; ++i) {
            if (i + 8 < end) NodeRecord::fetch(records.at(m_affected[i + 8]));
            if (i + 4 < end) {
                if (const NodeRecord* const next = records.at(m_affected[i + 4]))
                    fetchLine(next->name().get(), 0);
            }
            if (const NodeRecord* const record = records.at(m_affected[i]))
                static_cast<void>(hasher.of(*record));
        }
    });
}

// The list grows meanwhile.
void DeepHashes::markReaders() {
    for (std::size_t i = 0; i < m_affected.size(); ++i)
        m_dependencies.forEachReader(m_affected[i], [this](NodeNumber reader) { mark(reader); });
}

bool DeepHashes::mark(NodeNumber node) {
    if (node >= m_marks.size()) m_marks.resize(std::max<u64>(2 * m_marks.size(), u64{node} + 1));
    if (isMarked(node)) return false;
    m_affected.push_back(node);
    m_marks[node] = {.walk = m_walk};
    return true;
}

// Finds the groups with Tarjan's algorithm, each after those that it depends on. Keeps its steps in
// a list instead of recursion, because chains may be long.
void DeepHashes::visitFrom(NodeNumber start, const Records& records, ContentHasher& hasher) {
    open(start, *records.at(start));
    while (!m_steps.empty()) {
        Step& step = m_steps.back();
        Mark& own = m_marks[step.node];
        if (step.nextLead < m_leads.size()) {
            const NodeNumber to = m_leads[step.nextLead++];
            const NodeRecord* const record = isMarked(to) ? records.at(to) : nullptr;
            if (!record) continue;
            if (m_marks[to].index == 0)
                open(to, *record);
            else if (m_marks[to].group == 0)
                own.lowest = std::min(own.lowest, m_marks[to].index);
            continue;
        }
        m_leads.resize(step.firstLead);
        const NodeNumber done = step.node;
        m_steps.pop_back();
        if (own.lowest == own.index) closeGroup(done, records, hasher);
        if (m_steps.empty()) return;
        u32& lowest = m_marks[m_steps.back().node].lowest;
        lowest = std::min(lowest, own.lowest);
    }
}

void DeepHashes::open(NodeNumber node, const NodeRecord& record) {
    m_marks[node].index = m_marks[node].lowest = ++m_reached;
    m_steps.push_back({node, m_leads.size(), m_leads.size()});
    m_ungrouped.push_back(node);
    forEachLink(record, [this](NodeNumber to) { m_leads.push_back(to); });
    for (const RecordConnection& connection : record.connections())
        m_leads.push_back(connection.source);
}

// The group has the nodes that were reached since its first one and are in no group yet.
void DeepHashes::closeGroup(NodeNumber first, const Records& records, ContentHasher& hasher) {
    const auto begin = std::find(m_ungrouped.rbegin(), m_ungrouped.rend(), first).base() - 1;
    const std::span<const NodeNumber> nodes(begin, m_ungrouped.end());
    ++m_groups;
    for (const NodeNumber node : nodes)
        m_marks[node].group = m_groups;
    if (nodes.size() == 1) {
        store(first, hashOf(*records.at(first), records, hasher));
    } else {
        std::vector<u64> hashes;
        hashes.reserve(nodes.size());
        for (const NodeNumber node : nodes)
            hashes.push_back(hashOf(*records.at(node), records, hasher));
        m_ofGroup = hashes;
        std::ranges::sort(m_ofGroup);
        const u64 ofGroup = hashWords(m_ofGroup.data(), m_ofGroup.size());
        for (std::size_t i = 0; i < nodes.size(); ++i)
            store(nodes[i], hashMix(hashes[i], ofGroup));
    }
    m_ungrouped.erase(begin, m_ungrouped.end());
}

u64 DeepHashes::hashOf(const NodeRecord& record, const Records& records,
                       ContentHasher& hasher) const {
    const u32 group = m_marks[record.number()].group;
    u64 hash = hasher.of(record);
    forEachLink(record,
                [&](NodeNumber to) { hash = hashMix(hash, hashOfLead(to, group, records)); });
    for (const RecordConnection& connection : record.connections()) {
        hash = hashMix(hash, hashOfLead(connection.source, group, records));
        const NodeRecord* const source = records.at(connection.source);
        if (const ShapeOutput* output =
                source ? source->shape().output(connection.output) : nullptr)
            hash = hashMix(hash, output->name.hash());
    }
    return hash;
}

u64 DeepHashes::hashOfLead(NodeNumber to, u32 group, const Records& records) const {
    const NodeRecord* const record = to != noNumber ? records.at(to) : nullptr;
    if (!record) return 0;
    const bool isInGroup = isMarked(to) && m_marks[to].group == group;
    return isInGroup ? record->name().hash() : m_hashes.at(to);
}

void DeepHashes::store(NodeNumber node, u64 hash) {
    const u64 before = m_hashes.at(node);
    if (before == hash) return;
    m_hashes.edit(node, m_store) = hash;
    // A node that is not there has no share.
    if (before != 0) m_sum -= hashMix(before, hashOfNothing);
    if (hash != 0) m_sum += hashMix(hash, hashOfNothing);
}

} // namespace qv::kelvo_sdk::impl
