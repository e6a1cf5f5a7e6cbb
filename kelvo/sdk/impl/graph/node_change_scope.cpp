#include "kelvo/sdk/impl/graph/node_change_scope.h"

#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <new>

namespace qv::kelvo_sdk::impl {

void NodeChangeScope::open(interfaces::IScene* scene) {
    try {
        m_step.reset(new kelvo_sdk::Scene::UndoScope(kelvo_sdk::Scene(scene)));
    } catch (const std::bad_alloc&) {
        // The edit in progress makes the step instead.
        if (!CertainDelivery::isOn()) throw;
    }
}

} // namespace qv::kelvo_sdk::impl
