#include "kelvo/sdk/impl/eval/dirty_cache.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

bool dependsOnDirty(const Node& node) {
    return visitDependencies(node,
                             [&](const Node& other) { return &other != &node && other.isDirty(); });
}

// Is faster for a node whose row in the graph is known already, or will be needed.
bool dependsOnDirtyInGraph(const Node& node) {
    const GraphReader reader(&node);
    bool isFound = false;
    reader.forEachLead(reader.spotOf(node), LeadKind::Dependencies, [&](Spot spot, bool) {
        const Node& other = reader.nodeAt(spot);
        isFound = isFound || (&other != &node && other.isDirty());
    });
    return isFound;
}

} // namespace

DirtyCache::DirtyCache(Scene& scene) : m_scene(scene) {
    scene.forEachNode([this](Node* node) { nodeEntered(*node); });
}

// Readers of a node that was dirty before are dirty too, or are in `m_early`. When memory is out,
// sets all flags, because the walk that finds the right ones cannot finish.
void DirtyCache::nodeChanged(const Node& node, const Input* /*input*/, bool wasDirty) noexcept {
    try {
        recheckEarly();
        if (!wasDirty) spread(node);
    } catch (const std::bad_alloc&) {
        markAll();
    }
}

void DirtyCache::markAll() noexcept {
    m_early.clear();
    std::ranges::fill(m_known, Known::Dirty);
    m_scene.forEachNode([](Node* each) { each->raiseDirty({}); });
}

// When memory is out, the node is not noted as early, and stays clean until its next change.
void DirtyCache::nodeCleaning(Node& node) noexcept {
    note(node, Known::Clean);
    try {
        if (dependsOnDirtyInGraph(node) && m_scene.contains(node)) m_early.insert(&node);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void DirtyCache::nodeEntered(Node& node) noexcept {
    try {
        if (dependsOnDirty(node)) node.raiseDirty({});
        note(node, node.isDirty() ? Known::Dirty : Known::Clean);
        if (node.isDirty()) spread(node);
    } catch (const std::bad_alloc&) {
        markAll();
    }
}

void DirtyCache::recheckEarly() {
    if (m_early.empty()) return;
    for (Node* node : std::exchange(m_early, {})) {
        if (node->isDirty() || !dependsOnDirty(*node)) continue;
        node->raiseDirty({});
        spread(*node);
    }
}

// Walks over the copies of the flags and sets the flags in the nodes at the end, in one loop: the
// nodes are far apart in memory, and the processor can then fetch several at once.
void DirtyCache::spread(const Node& from) {
    const GraphReader reader(&from);
    if (reader.graph() && m_known.size() < reader.graph()->end())
        m_known.resize(reader.graph()->end());
    note(from, Known::Dirty);
    m_turned.clear();
    visitDownstream(reader, from, m_pending,
                    [this](Spot spot, Node& node) { return turns(spot, node); });
    for (const auto& [node, number] : m_turned) {
        node->raiseDirty({});
        m_known[number] = Known::Dirty;
    }
}

// Tells whether the flag of a reader has to be set, and notes that it will be.
bool DirtyCache::turns(Spot spot, Node& reader) {
    if (!spot.hasNumber()) return reader.raiseDirty({});
    Known& known = m_known[spot.number()];
    if (known == Known::Turning || (known == Known::Dirty && reader.isDirty())) return false;
    m_turned.push_back({&reader, spot.number()});
    known = Known::Turning;
    return true;
}

void DirtyCache::note(const Node& node, Known known) noexcept {
    const bool isNumbered = m_scene.graph().node(node.number()) == &node;
    if (isNumbered && node.number() < m_known.size()) m_known[node.number()] = known;
}

} // namespace qv::kelvo_sdk::impl
