#include "sdk/impl/scene.h"

// ---- Dirty state ---------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

void Scene::setDirty(bool dirty) {
    m_dirty = dirty;
}

bool Scene::isDirtyStateCached() const {
    return false;
}

} // namespace qv::kelvo_sdk::impl
