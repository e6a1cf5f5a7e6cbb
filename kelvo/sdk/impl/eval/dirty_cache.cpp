#include "kelvo/sdk/impl/eval/dirty_cache.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

bool dependsOnDirty(const Node& node) {
    return visitDependencies(node,
                             [&](const Node& other) { return &other != &node && other.isDirty(); });
}

} // namespace

DirtyCache::DirtyCache(Scene& scene) : m_scene(scene) {
    scene.forEachNode([this](Node* node) { nodeEntered(*node); });
}

// Readers of a node that was dirty already are dirty themselves, or wait among the early ones.
// Without memory to find out which flags to turn, all are turned.
void DirtyCache::nodeChanged(const Node& node, bool wasDirty) noexcept {
    try {
        recheckEarly();
        if (!wasDirty) spread(node);
    } catch (const std::bad_alloc&) {
        markAll();
    }
}

void DirtyCache::markAll() noexcept {
    m_early.clear();
    m_scene.forEachNode([](Node* each) { each->m_dirty = true; });
}

// Without memory to remember it by, it stays clean until it changes.
void DirtyCache::nodeCleaning(Node& node) noexcept {
    try {
        if (dependsOnDirty(node) && m_scene.contains(node)) m_early.insert(&node);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void DirtyCache::nodeEntered(Node& node) noexcept {
    try {
        if (dependsOnDirty(node)) node.m_dirty = true;
        if (node.m_dirty) spread(node);
    } catch (const std::bad_alloc&) {
        markAll();
    }
}

void DirtyCache::recheckEarly() {
    if (m_early.empty()) return;
    for (Node* node : std::exchange(m_early, {})) {
        if (node->m_dirty || !dependsOnDirty(*node)) continue;
        node->m_dirty = true;
        spread(*node);
    }
}

void DirtyCache::spread(const Node& from) {
    visitDownstream(from, m_pending,
                    [](Node& reader) { return !std::exchange(reader.m_dirty, true); });
}

} // namespace qv::kelvo_sdk::impl
