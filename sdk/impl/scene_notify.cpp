#include "sdk/impl/batches.h"
#include "sdk/impl/scene.h"

#include "sdk/interfaces/i_input.h"
#include "sdk/interfaces/i_output.h"

// ---- Notifications -------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

// Keeps scene and input until modifiers were asked: observers may let both go.
class Scene::Told {
public:
    Told(Scene& scene, const IInput* input) {
        if (scene.m_observers.empty()) return;
        m_scene = RefersTo<Scene>(&scene);
        m_input = RefersTo<IInput>(const_cast<IInput*>(input));
    }

private:
    RefersTo<Scene> m_scene;
    RefersTo<IInput> m_input;
};

bool Scene::subscribe(SceneObserver* observer) {
    if (m_observers.contains(observer)) return false;
    m_observers.push_back(observer);
    return true;
}

bool Scene::unsubscribe(SceneObserver* observer) {
    return m_observers.removeAll(observer);
}

bool Scene::subscribe(BatchObserver* observer) {
    if (!m_batches) {
        m_batches = std::make_unique<Batches>(*this);
        subscribe(m_batches.get());
    }
    return m_batches->subscribe(observer);
}

bool Scene::unsubscribe(BatchObserver* observer) {
    return m_batches && m_batches->unsubscribe(observer);
}

void Scene::notifyInputAdded(const IInput* input) {
    const Told told(*this, input);
    setDirty();
    tellObservers(input, [=](SceneObserver& observer) { observer.inputAdded(input); });
    modify(input);
}

void Scene::notifyOutputAdded(const IOutput* output) {
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputAdded(output); });
}

void Scene::notifyInputChanged(const IInput* input, const AttrData* previous) {
    const Told told(*this, input);
    setDirty();
    tellObservers(input, [=](SceneObserver& observer) { observer.inputChanged(input, previous); });
    modify(input);
}

void Scene::notifyInputRemoved(const IInput* input) {
    const Told told(*this, input);
    m_comments.remove(input);
    setDirty();
    tellObservers(input, [=](SceneObserver& observer) { observer.inputRemoved(input); });
    modify(input);
}

void Scene::notifyOutputRemoved(const IOutput* output) {
    m_comments.remove(output);
    setDirty();
    tellObservers(output, [=](SceneObserver& observer) { observer.outputRemoved(output); });
}

void Scene::notifyInputConnected(const IInput* input, const IOutput* before, const IOutput* after) {
    const Told told(*this, input);
    setDirty();
    tellObservers(input,
                  [=](SceneObserver& observer) { observer.inputConnected(input, before, after); });
    modify(input);
}

} // namespace qv::kelvo_sdk::impl
