#include "sdk/impl/node_change_scope.h"

namespace qv::kelvo_sdk::impl {

void NodeChangeScope::open(interfaces::IScene* scene) {
    m_step =
        std::make_unique<kelvo_sdk::Scene::UndoScope>(kelvo_sdk::Scene(scene), String(), String());
}

} // namespace qv::kelvo_sdk::impl
