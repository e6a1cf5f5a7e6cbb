#include "sdk/impl/node_change_scope.h"

namespace qv::kelvo_sdk::impl {

void NodeChangeScope::open(interfaces::IScene* scene) {
    m_step.reset(new kelvo_sdk::Scene::UndoScope(kelvo_sdk::Scene(scene)));
}

} // namespace qv::kelvo_sdk::impl
