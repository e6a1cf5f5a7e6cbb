// ---- Notifications ---------------------------------------------------------------------
// First the dirty flag, always. Then, unless the node is being destroyed and inside one change
// scope: observers under the lock, from a copy of the list; the scene after the lock is
// released; the library's callback last. Silent inputs are added and removed unheard. Inside a
// change of several parts all of it comes when that is complete.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node_change_scope.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/graph/tell_each.h"
#include "kelvo/sdk/impl/history/all_calls.h"
#include "kelvo/sdk/impl/history/news_hold.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk::impl {

namespace {

Scene* sceneOf(IScene* scene) noexcept {
    return implOf(scene);
}

kelvo_sdk::Input handleOn(const IInput* input) {
    return kelvo_sdk::Input(const_cast<IInput*>(input));
}

// Keeps alive, until everyone was told, what they are told about: who is told may let go of it.
// Costs nothing until it is used.
class Survivors {
public:
    void keep(const Node* node, const IInput* input = nullptr, const IOutput* before = nullptr,
              const IOutput* after = nullptr) {
        if (m_node) return;
        m_node = kelvo_sdk::Node(const_cast<Node*>(node));
        m_input = handleOn(input);
        m_before = RefersTo<IOutput>(const_cast<IOutput*>(before));
        m_after = RefersTo<IOutput>(const_cast<IOutput*>(after));
    }
    [[nodiscard]] bool any() const noexcept { return static_cast<bool>(m_node); }

private:
    kelvo_sdk::Node m_node;
    kelvo_sdk::Input m_input;
    RefersTo<IOutput> m_before;
    RefersTo<IOutput> m_after;
};

// A change of a value that is told when the change around it is complete.
class ChangeToTell {
public:
    ChangeToTell(Node* node, const IInput* input, const AttrData* previous)
        : m_node(node), m_input(handleOn(input)), m_isKnown(previous != nullptr) {
        if (!previous) return;
        m_previous = *previous;
        if (m_previous.value.type() == AttrType::Node)
            m_linked = RefersTo<INode>(m_previous.value.asNode());
    }
    void operator()() const {
        m_node->onInputChanged(m_input.get(), m_isKnown ? &m_previous : nullptr);
    }

private:
    RefersTo<Node> m_node;
    kelvo_sdk::Input m_input;
    AttrData m_previous;
    RefersTo<INode> m_linked;
    bool m_isKnown;
};

// Tells a node's own observers of a value or connection. Whatever they throw, the scene goes by it.
template<typename Tell>
void tellOwn(const Node& node, const IInput* input, const Tell& tell) {
    AllCalls calls;
    calls.make(tell);
    if (calls.hasThrown() && node.scene())
        calls.make([&] { sceneOf(node.scene())->followUntold(input); });
    calls.end();
}

template<typename Attribute>
RefersTo<Attribute> held(const Attribute* attribute) {
    return RefersTo<Attribute>(const_cast<Attribute*>(attribute));
}

} // namespace

// Tells whether anyone but the node's own observers may hear of a change: a scene observer, a
// modifier, or whatever was derived from the scene.
bool Node::isHeard() const noexcept {
    return m_nodeChanged || (m_scene && sceneOf(m_scene)->isHeard());
}

// A history that records drops old steps, which end what they hold.
bool Node::mayCallBack() const noexcept {
    auto* scene = sceneOf(m_scene);
    return scene && (scene->isHeard() || scene->history().isRecording());
}

// Calls `tell(observer)` for all who are subscribed now and still are when their turn comes.
template<typename Tell>
void Node::tellObservers(const Tell& tell) const {
    if (!m_isObserved) return;
    const std::lock_guard lock(m_observerMutex);
    if (m_observers.empty()) return;
    if (m_scene) sceneOf(m_scene)->noteTelling();
    tellEach(m_observers, tell);
}

// Tells whether it is worth the while to remember a change until it is told. What nobody hears of
// makes the scene dirty at once.
bool Node::isNews(const IInput& input) const {
    if (isHeard() || isModifierList(implOf(input)) || m_isObserved) return true;
    if (m_scene) sceneOf(m_scene)->setDirty();
    return false;
}

// Tells the scene of an attribute that came or went, by `tell(scene, attribute)`.
template<typename Attribute, typename Tell>
void Node::tellScene(const Attribute* attribute, const Tell& tell) {
    markDirty();
    if (m_destroying) return;
    if (NewsHold* hold = NewsHold::current())
        return hold->add([node = held(this), attribute = held(attribute), tell] {
            node->tellScene(static_cast<const Attribute*>(attribute.get()), tell);
        });
    const NodeChangeScope scope(m_scene);
    if (m_scene) tell(*sceneOf(m_scene), attribute);
}

void Node::onInputAdded(const IInput* input) {
    if (input->isSilent()) return markDirty();
    tellScene(input, [](Scene& scene, const IInput* told) { scene.notifyInputAdded(told); });
}

void Node::onOutputAdded(const IOutput* output) {
    tellScene(output, [](Scene& scene, const IOutput* told) { scene.notifyOutputAdded(told); });
}

void Node::onInputRemoved(const IInput* input) {
    if (input->isSilent()) return markDirty();
    tellScene(input, [](Scene& scene, const IInput* told) { scene.notifyInputRemoved(told); });
}

void Node::onOutputRemoved(const IOutput* output) {
    tellScene(output, [](Scene& scene, const IOutput* told) { scene.notifyOutputRemoved(told); });
}

// Opening the scope may set off the node's end, hence the second question in these five. The scene
// and the library hear of a value or connection all the same.

// The callback is looked up last: who is told may bind another.
void Node::onInputChanged(const IInput* input, const AttrData* previous) {
    markDirty();
    if (m_destroying) return;
    if (NewsHold* hold = NewsHold::current()) {
        if (isNews(*input)) hold->add(ChangeToTell(this, input, previous));
        return;
    }
    Survivors survivors;
    if (isHeard()) survivors.keep(this, input);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellOwn(*this, input, [&] {
            tellObservers([&](NodeObserver* observer) {
                survivors.keep(this, input);
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
    if (NewsHold* hold = NewsHold::current()) {
        if (isNews(*input))
            hold->add([node = held(this), input = held(input), before = held(before),
                       after = held(after)] {
                node->onInputConnected(input.get(), before.get(), after.get());
            });
        return;
    }
    Survivors survivors;
    if (isHeard()) survivors.keep(this, input, before, after);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellOwn(*this, input, [&] {
            tellObservers([&](NodeObserver* observer) {
                survivors.keep(this, input, before, after);
                observer->inputConnected(handleOn(input));
            });
        });
    if (m_scene) sceneOf(m_scene)->notifyInputConnected(input, before, after);
}

// Modifiers find inputs by their names, those of silent ones as well.
void Node::onInputRenamed(const IInput* input, String before) {
    markDirty();
    if (m_destroying) return;
    if (NewsHold* hold = NewsHold::current())
        return hold->add([node = held(this), input = held(input), before] {
            node->onInputRenamed(input.get(), before);
        });
    if (input->isSilent()) {
        if (m_scene) sceneOf(m_scene)->applyModifiers(this);
        return;
    }
    Survivors survivors;
    survivors.keep(this, input);
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
            survivors.keep(this);
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
            survivors.keep(this);
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
            survivors.keep(this);
            observer->nodeConverted(kelvo_sdk::Node(replacement));
        });
}

} // namespace qv::kelvo_sdk::impl
