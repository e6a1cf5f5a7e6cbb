// Translates the notifications of a scene into calls with handles.

#include "kelvo/sdk/scene_listener.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/interfaces/scene_observer.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_sdk {

namespace {

// Casts const away, because client handles have no const form; observers must not change the
// object.
Input handleOn(const interfaces::IInput* input) {
    return Input(const_cast<interfaces::IInput*>(input));
}
Output handleOn(const interfaces::IOutput* output) {
    return Output(const_cast<interfaces::IOutput*>(output));
}

Input handleOn(const impl::AttrData* previous) {
    if (!previous || previous->value.isNull()) return Input();
    return Input(impl::Input::showing(previous->value).get());
}

} // namespace

class SceneListener::Forwarder final : public interfaces::SceneObserver {
public:
    explicit Forwarder(SceneListener& listener) noexcept : m_listener(listener) {}

    void nodeAdded(interfaces::INode* node) override { m_listener.nodeAdded(Node(node)); }
    void nodeRemoved(interfaces::INode* node) override { m_listener.nodeRemoved(Node(node)); }
    void nodeRenamed(interfaces::INode* node, String oldName) override {
        m_listener.nodeRenamed(Node(node), std::move(oldName));
    }
    void nodeMoved(interfaces::INode* node, u64 from) override {
        m_listener.nodeMoved(Node(node), from);
    }
    void inputAdded(const interfaces::IInput* input) override {
        m_listener.inputAdded(handleOn(input));
    }
    void inputRemoved(const interfaces::IInput* input) override {
        m_listener.inputRemoved(handleOn(input));
    }
    void outputAdded(const interfaces::IOutput* output) override {
        m_listener.outputAdded(handleOn(output));
    }
    void outputRemoved(const interfaces::IOutput* output) override {
        m_listener.outputRemoved(handleOn(output));
    }
    void inputChanged(const interfaces::IInput* input, const impl::AttrData* previous) override {
        m_listener.inputChanged(handleOn(input), handleOn(previous));
    }
    void inputConnected(const interfaces::IInput* input, const interfaces::IOutput* before,
                        const interfaces::IOutput* after) override {
        m_listener.inputConnected(handleOn(input), handleOn(before), handleOn(after));
    }
    void inputRenamed(const interfaces::IInput* input, String before) override {
        m_listener.inputRenamed(handleOn(input), std::move(before));
    }
    void nodeConverted(interfaces::INode* node, interfaces::INode* replacement) override {
        m_listener.nodeConverted(Node(node), Node(replacement));
    }

private:
    SceneListener& m_listener;
};

SceneListener::SceneListener() : m_forwarder(std::make_unique<Forwarder>(*this)) {}
SceneListener::~SceneListener() = default;

Result Scene::subscribe(SceneListener* listener) const {
    if (!get()) return impl::emptyHandle("scene");
    return impl::subscribed(listener, listener && get()->subscribe(listener->m_forwarder.get()),
                            true);
}

Result Scene::unsubscribe(SceneListener* listener) const {
    if (!get()) return impl::emptyHandle("scene");
    return impl::subscribed(listener, listener && get()->unsubscribe(listener->m_forwarder.get()),
                            false);
}

} // namespace qv::kelvo_sdk
