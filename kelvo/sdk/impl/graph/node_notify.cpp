// ---- Notifications ---------------------------------------------------------------------
// Every change sets the dirty flag first. Then, unless the node is being destroyed,
// notifications follow inside one change scope: observers under the lock, from a copy of the
// list; the scene after the lock is released; the library's callback last. Silent inputs are
// added and removed without notifications. During a change of several parts, notifications wait
// until it is complete.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node_change_scope.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/graph/survivors.h"
#include "kelvo/sdk/impl/graph/tell_each.h"
#include "kelvo/sdk/impl/history/all_calls.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk::impl {

namespace {

Scene* sceneOf(IScene* scene) noexcept {
    return implOf(scene);
}

kelvo_sdk::Input handleOn(const IInput* input) {
    return kelvo_sdk::Input(const_cast<IInput*>(input));
}

// A change of a value whose notification waits until the enclosing change is complete.
class ChangeToTell {
public:
    ChangeToTell(Node* node, const IInput* input, const AttrData* previous)
        : m_node(node),
          m_input(input),
          m_isKnown(previous != nullptr),
          m_previous(previous ? *previous : AttrData()),
          m_survivors(static_cast<const INode*>(node), input, linked()) {}
    void operator()() const { m_node->onInputChanged(m_input, m_isKnown ? &m_previous : nullptr); }

private:
    [[nodiscard]] const INode* linked() const {
        return m_previous.value.type() == AttrType::Node ? m_previous.value.asNode() : nullptr;
    }

    Node* m_node;
    const IInput* m_input;
    bool m_isKnown;
    AttrData m_previous;
    Survivors m_survivors;
};

// Notifies a node's own observers of a value or connection. If they throw, still updates the scene.
template<typename Tell>
void tellOwn(const Node& node, const IInput* input, const Tell& tell) {
    AllCalls calls;
    calls.make(tell);
    if (calls.hasThrown() && node.scene())
        calls.make([&] { sceneOf(node.scene())->followUnnotified(input); });
    calls.end();
}

} // namespace

// Tells whether anyone besides the node's own observers may need notifications: a scene observer, a
// modifier, or a class derived from the scene.
bool Node::hasReceivers() const noexcept {
    return m_nodeChanged || (m_scene && sceneOf(m_scene)->hasReceivers());
}

// A history that records drops old steps, whose destruction may call back.
bool mayCallBack(const Node& node) noexcept {
    auto* scene = sceneOf(node.liveScene());
    return scene && (scene->history().isRecording() || scene->hasReceivers());
}

bool Node::isUnnotified(const Input& input) const noexcept {
    if (m_destroying || m_nodeChanged || m_isObserved || DeferredNotifications::current())
        return false;
    return (!m_scene || sceneOf(m_scene)->isQuiet()) && !isModifierList(input);
}

void Node::changedUnnotified(const Input* changed) const noexcept {
    markDirty(changed);
    if (m_scene) sceneOf(m_scene)->changedQuietly();
}

// Calls `tell(observer)` for each observer that is still subscribed at its turn.
template<typename Tell>
void Node::tellObservers(const Tell& tell) const {
    if (!m_isObserved) return;
    const std::lock_guard lock(m_observerMutex);
    if (m_observers.empty()) return;
    if (m_scene) sceneOf(m_scene)->noteTelling();
    tellEach(m_observers, tell);
}

// Tells whether a notification that is held back has a receiver. If not, marks the scene dirty at
// once.
bool Node::needsNotification(const IInput& input) const {
    if (hasReceivers() || isModifierList(implOf(input)) || m_isObserved) return true;
    if (m_scene) sceneOf(m_scene)->setDirty();
    return false;
}

// Notifies the scene of an added or removed attribute by `tell(scene, attribute)`.
template<typename Attribute, typename Tell>
void Node::tellScene(const Attribute* attribute, const Tell& tell) {
    markDirty();
    if (m_destroying) return;
    if (DeferredNotifications* hold = DeferredNotifications::current())
        return hold->add(
            [=, this, survivors = Survivors(this, attribute)] { tellScene(attribute, tell); });
    const NodeChangeScope scope(m_scene);
    if (m_scene) tell(*sceneOf(m_scene), attribute);
}

void Node::onInputAdded(const IInput* input) {
    if (input->isSilent()) return markDirty();
    tellScene(input,
              [](Scene& scene, const IInput* attribute) { scene.notifyInputAdded(attribute); });
}

void Node::onOutputAdded(const IOutput* output) {
    tellScene(output,
              [](Scene& scene, const IOutput* attribute) { scene.notifyOutputAdded(attribute); });
}

void Node::onInputRemoved(const IInput* input) {
    if (input->isSilent()) return markDirty();
    tellScene(input,
              [](Scene& scene, const IInput* attribute) { scene.notifyInputRemoved(attribute); });
}

void Node::onOutputRemoved(const IOutput* output) {
    tellScene(output,
              [](Scene& scene, const IOutput* attribute) { scene.notifyOutputRemoved(attribute); });
}

// Opening the scope may destroy the node, so these five functions check `m_destroying` again. The
// scene and the library are notified of a value or connection in any case.

// Looks the callback up last, because observers may bind another one.
void Node::onInputChanged(const IInput* input, const AttrData* previous) {
    markDirty(implOf(input));
    if (m_destroying) return;
    if (DeferredNotifications* hold = DeferredNotifications::current()) {
        if (needsNotification(*input)) hold->add(ChangeToTell(this, input, previous));
        return;
    }
    Survivors survivors;
    if (hasReceivers()) survivors.hold(this, input);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellOwn(*this, input, [&] {
            tellObservers([&](NodeObserver* observer) {
                survivors.hold(this, input);
                observer->inputChanged(handleOn(input));
            });
        });
    const bool isKept = survivors.any();
    if (m_scene) sceneOf(m_scene)->notifyInputChanged(input, previous);
    if (isKept && m_nodeChanged) m_nodeChanged(const_cast<IInput*>(input));
}

void Node::onInputConnected(const IInput* input, const IOutput* before, const IOutput* after) {
    markDirty();
    if (m_destroying) return;
    if (DeferredNotifications* hold = DeferredNotifications::current()) {
        if (needsNotification(*input))
            hold->add([=, this, survivors = Survivors(this, input, before, after)] {
                onInputConnected(input, before, after);
            });
        return;
    }
    Survivors survivors;
    if (hasReceivers()) survivors.hold(this, input, before, after);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellOwn(*this, input, [&] {
            tellObservers([&](NodeObserver* observer) {
                survivors.hold(this, input, before, after);
                observer->inputConnected(handleOn(input));
            });
        });
    if (m_scene) sceneOf(m_scene)->notifyInputConnected(input, before, after);
}

// Modifiers find inputs by name, also silent ones.
void Node::onInputRenamed(const IInput* input, String before) {
    markDirty();
    if (m_destroying) return;
    if (DeferredNotifications* hold = DeferredNotifications::current())
        return hold->add(
            [=, this, survivors = Survivors(this, input)] { onInputRenamed(input, before); });
    if (input->isSilent()) {
        if (m_scene) sceneOf(m_scene)->applyModifiers(this);
        return;
    }
    const Survivors survivors(this, input);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellOwn(*this, input, [&] {
            tellObservers([&](NodeObserver* observer) { observer->inputChanged(handleOn(input)); });
        });
    if (m_scene) sceneOf(m_scene)->notifyInputRenamed(input, before);
    if (m_nodeChanged) m_nodeChanged(const_cast<IInput*>(input));
}

void Node::notifyRemoved() const {
    markDirty();
    if (m_destroying) return;
    Survivors survivors;
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellObservers([&](NodeObserver* observer) {
            survivors.hold(this);
            observer->nodeRemoved();
        });
}

void Node::notifyRenamed(String name) const {
    markDirty();
    if (m_destroying) return;
    Survivors survivors;
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellObservers([&](NodeObserver* observer) {
            survivors.hold(this);
            observer->nodeRenamed(name);
        });
}

void Node::notifyConverted(INode* replacement) const {
    markDirty();
    if (m_destroying) return;
    Survivors survivors;
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellObservers([&](NodeObserver* observer) {
            survivors.hold(this);
            observer->nodeConverted(kelvo_sdk::Node(replacement));
        });
}

} // namespace qv::kelvo_sdk::impl
