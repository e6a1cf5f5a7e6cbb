// ---- Dirty state -----------------------------------------------------------------------
// The scene's own flag is plainly set and cleared. The nodes' flags cover their dependencies
// only on request, by a follower.

#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/eval/dirty_cache.h"

namespace qv::kelvo_sdk::impl {

void Scene::setDirty(bool dirty) {
    m_dirty = dirty;
}

bool Scene::isDirtyStateCached() const {
    return m_dirtyCache != nullptr;
}

void Scene::setDirtyStateCached(bool cached) {
    if (cached == (m_dirtyCache != nullptr)) return;
    if (cached) {
        m_dirtyCache = std::make_unique<DirtyCache>(*this);
        return m_followers.join(*m_dirtyCache);
    }
    m_followers.leave(*m_dirtyCache);
    m_dirtyCache.reset();
}

} // namespace qv::kelvo_sdk::impl
