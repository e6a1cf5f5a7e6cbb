#include "sdk/impl/scene.h"

// ---- Edits ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

void Scene::beginEdit() {
    ++m_editDepth;
}

void Scene::recordEdit(String /*doText*/, String /*undoText*/) {
    if (m_editDepth > 0) --m_editDepth;
}

void Scene::beginEditGroup() {
    ++m_groupDepth;
}

void Scene::endEditGroup() {
    if (m_groupDepth > 0) --m_groupDepth;
}

} // namespace qv::kelvo_sdk::impl
