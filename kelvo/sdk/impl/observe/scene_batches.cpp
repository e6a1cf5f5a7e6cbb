// ---- Batches ---------------------------------------------------------------------------
// The first batch observer makes a notifier, which is itself notified of each single change.

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/observe/batch_notifier.h"

namespace qv::kelvo_sdk::impl {

bool Scene::subscribe(BatchObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    if (!m_batches) {
        auto made = std::make_unique<BatchNotifier>(*this);
        subscribe(static_cast<SceneObserver*>(made.get()));
        m_followers.join(*made);
        m_batches = std::move(made);
    }
    return static_cast<BatchNotifier&>(*m_batches).subscribe(observer);
}

bool Scene::unsubscribe(BatchObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    return m_batches && static_cast<BatchNotifier&>(*m_batches).unsubscribe(observer);
}

} // namespace qv::kelvo_sdk::impl
