#include "kelvo/sdk/impl/graph/all_calls.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/modify/modifiers.h"
#include "kelvo/sdk/impl/observe/batches.h"

#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <typeinfo>

// ---- Notifications -------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

// Observers may let go of scene and input, and may throw: modifiers are asked all the same. Of a
// node that is being made nobody hears.
template<typename Tell>
void Scene::tellThenModify(const IInput* input, const Tell& tell) {
    if (isMaking(input->node())) return;
    setDirty();
    if (!hasObservers()) return modify(input);
    const RefersTo<Scene> self(this);
    const RefersTo<IInput> held(const_cast<IInput*>(input));
    AllCalls calls;
    calls.make([&] { tellObservers(input, tell); });
    calls.make([&] { modify(input); });
    calls.end();
}

// Nor is whoever derives from the scene told that it is dirty.
void Scene::followUntold(const IInput* input) {
    if (isMaking(input->node())) return;
    Scene::setDirty(true);
    modify(input);
}

// An application that derives from the scene hears of everything.
// Type descriptions are compared by their place, which is quick: one that stands in two places
// would count as derived, which costs time alone.
bool Scene::isHeard() const noexcept {
    return hasObservers() || &typeid(*this) != &typeid(Scene) || !m_modifiers->isIdle();
}

bool Scene::subscribe(SceneObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    if (m_observers.contains(observer)) return false;
    m_observers.push_back(observer);
    m_observerCount.store(m_observers.size(), std::memory_order_release);
    return true;
}

bool Scene::unsubscribe(SceneObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    const bool wasThere = m_observers.removeAll(observer);
    m_observerCount.store(m_observers.size(), std::memory_order_release);
    return wasThere;
}

bool Scene::subscribe(BatchObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    if (!m_ownBatches) {
        auto made = std::make_unique<Batches>(*this);
        subscribe(made.get());
        m_ownBatches = std::move(made);
        m_batches.store(m_ownBatches.get(), std::memory_order_release);
    }
    return m_ownBatches->subscribe(observer);
}

bool Scene::unsubscribe(BatchObserver* observer) {
    const std::lock_guard lock(m_observerMutex);
    return m_ownBatches && m_ownBatches->unsubscribe(observer);
}

void Scene::expectInBatches(const INode* node) {
    const std::lock_guard lock(m_observerMutex);
    m_ownBatches->expect(node);
}
void Scene::expectInBatches(const IInput* input) {
    const std::lock_guard lock(m_observerMutex);
    m_ownBatches->expect(input);
}
void Scene::expectInBatches(const IOutput* output) {
    const std::lock_guard lock(m_observerMutex);
    m_ownBatches->expect(output);
}

void Scene::notifyInputAdded(const IInput* input) {
    tellThenModify(input, [=](SceneObserver& observer) { observer.inputAdded(input); });
}

void Scene::notifyOutputAdded(const IOutput* output) {
    if (isMaking(output->node())) return;
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputAdded(output); });
}

void Scene::notifyInputChanged(const IInput* input, const AttrData* previous) {
    tellThenModify(input, [=](SceneObserver& observer) { observer.inputChanged(input, previous); });
}

void Scene::notifyInputRemoved(const IInput* input) {
    tellThenModify(input, [=](SceneObserver& observer) { observer.inputRemoved(input); });
}

void Scene::notifyOutputRemoved(const IOutput* output) {
    if (isMaking(output->node())) return;
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputRemoved(output); });
}

void Scene::notifyInputConnected(const IInput* input, const IOutput* before, const IOutput* after) {
    tellThenModify(input,
                   [=](SceneObserver& observer) { observer.inputConnected(input, before, after); });
}

} // namespace qv::kelvo_sdk::impl
