// ---- Notifications ---------------------------------------------------------------------
// A list of borrowed pointers in order of subscription. Any thread may subscribe.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/all_calls.h"

#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <typeinfo>

namespace qv::kelvo_sdk::impl {

// Observers may drop the last references to scene and input, and may throw; followers are called in
// any case. Sends no notifications for a node that is being created.
template<typename Tell>
void Scene::tellOfInput(const IInput* input, const Tell& tell) {
    if (isMaking(input->node())) return;
    setDirty();
    if (!hasObservers()) return tellFollowers(input);
    const Survivors survivors(this, input);
    AllCalls calls;
    calls.make([&] { tellObservers(input, tell); });
    calls.make([&] { tellFollowers(input); });
    calls.end();
}

// Bypasses the virtual `setDirty`, so that a class derived from the scene is not notified either.
void Scene::followUnnotified(const IInput* input) {
    if (isMaking(input->node())) return;
    Scene::setDirty(true);
    tellFollowers(input);
}

bool Scene::hasInputFollowers() const noexcept {
    bool hears = false;
    m_followers.each([&](const SceneFollower& follower) { hears |= follower.followsInputs(); });
    return hears;
}

// Followers may run code that drops the last reference to the scene.
void Scene::tellFollowers(const IInput* input) {
    auto& changed = implOf(const_cast<IInput&>(*input));
    if (isModifierList(changed)) return applyModifiers(changed.node());
    if (!hasInputFollowers()) return;
    const RefersTo<Scene> self(this);
    m_followers.each([&](SceneFollower& follower) {
        if (follower.followsInputs()) follower.inputNotified(changed);
    });
}

namespace {

// A class derived from the scene needs every notification. Compares type descriptions by address,
// which is fast; a duplicate description would count as a derived class, which only costs time.
bool isDerived(const Scene& scene) noexcept {
    return &typeid(scene) != &typeid(Scene);
}

} // namespace

bool Scene::hasReceivers() const noexcept {
    return hasObservers() || isDerived(*this) || hasInputFollowers();
}

bool Scene::isQuiet() const noexcept {
    return !m_history.isRecording() && !hasObservers() && !hasInputFollowers() &&
           m_beingMade.empty() && !isDerived(*this);
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

void Scene::notifyInputAdded(const IInput* input) {
    tellOfInput(input, [=](SceneObserver& observer) { observer.inputAdded(input); });
}

void Scene::notifyOutputAdded(const IOutput* output) {
    if (isMaking(output->node())) return;
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputAdded(output); });
}

void Scene::notifyInputChanged(const IInput* input, const AttrData* previous) {
    tellOfInput(input, [=](SceneObserver& observer) { observer.inputChanged(input, previous); });
}

void Scene::notifyInputRemoved(const IInput* input) {
    tellOfInput(input, [=](SceneObserver& observer) { observer.inputRemoved(input); });
}

void Scene::notifyOutputRemoved(const IOutput* output) {
    if (isMaking(output->node())) return;
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputRemoved(output); });
}

void Scene::notifyInputConnected(const IInput* input, const IOutput* before, const IOutput* after) {
    tellOfInput(input,
                [=](SceneObserver& observer) { observer.inputConnected(input, before, after); });
}

void Scene::notifyInputRenamed(const IInput* input, String before) {
    tellOfInput(input, [&](SceneObserver& observer) { observer.inputRenamed(input, before); });
}

} // namespace qv::kelvo_sdk::impl
