// ---- Observers -------------------------------------------------------------------------
// A list of borrowed pointers in order of subscription, used only under the lock.

#include "kelvo/sdk/impl/graph/node.h"

namespace qv::kelvo_sdk::impl {

bool Node::subscribe(NodeObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    if (m_observers.contains(observer)) return false;
    m_observers.push_back(observer);
    m_isObserved = true;
    return true;
}

bool Node::unsubscribe(NodeObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    const bool wasThere = m_observers.removeAll(observer);
    m_isObserved = !m_observers.empty();
    return wasThere;
}

bool Node::unsubscribeAll() {
    const std::lock_guard lock(m_observerMutex);
    const bool hadAny = !m_observers.empty();
    m_observers.release();
    m_isObserved = false;
    return hadAny;
}

} // namespace qv::kelvo_sdk::impl
