#include "kelvo/sdk/impl/graph/scene.h"

// ---- Dirty state ---------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

void Scene::setDirty(bool dirty) {
    m_dirty = dirty;
}

bool Scene::isDirtyStateCached() const {
    return m_dirtyCache != nullptr;
}

void Scene::setDirtyStateCached(bool cached) {
    if (cached == (m_dirtyCache != nullptr)) return;
    m_dirtyCache = cached ? std::make_unique<DirtyCache>(*this) : nullptr;
}

} // namespace qv::kelvo_sdk::impl
