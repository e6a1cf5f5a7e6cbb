// ---- Notifications ---------------------------------------------------------------------
// First the dirty flag, always. Then, unless the node is being destroyed and inside one change
// scope: observers under the lock, from a copy of the list; the scene after the lock is
// released; the library's callback last. Silent inputs are added and removed unheard.

#include "sdk/impl/node.h"

#include "sdk/impl/node_change_scope.h"
#include "sdk/impl/scene.h"
#include "sdk/node.h"

#include <algorithm>
#include <memory>

namespace qv::kelvo_sdk::impl {

namespace {

Scene* sceneOf(IScene* scene) noexcept {
    return static_cast<Scene*>(scene);
}

kelvo_sdk::Input handleOn(const IInput* input) {
    return kelvo_sdk::Input(const_cast<IInput*>(input));
}

// Keeps a node and an input alive until everyone was told: who is told may remove them. Costs
// nothing until it is used.
class Survivors {
public:
    void keep(const Node* node, const IInput* input = nullptr) {
        if (!m_node) m_node = kelvo_sdk::Node(const_cast<Node*>(node));
        if (!m_input) m_input = handleOn(input);
    }

private:
    kelvo_sdk::Node m_node;
    kelvo_sdk::Input m_input;
};

} // namespace

// Calls `tell(observer)` for all who are subscribed now and still are when their turn comes.
template<typename Tell>
void Node::tellObservers(const Tell& tell) const {
    const std::lock_guard lock(m_observerMutex);
    const u64 count = m_observers.size();
    if (count == 0) return;
    const auto snapshot = std::make_unique_for_overwrite<NodeObserver*[]>(count);
    std::ranges::copy(m_observers, snapshot.get());
    for (u64 i = 0; i < count; ++i) {
        if (m_observers.contains(snapshot[i])) tell(snapshot[i]);
    }
}

void Node::onInputAdded(const IInput* input) {
    markDirty();
    if (m_destroying || input->isSilent()) return;
    const NodeChangeScope scope(m_scene);
    if (m_scene) sceneOf(m_scene)->notifyInputAdded(input);
}

void Node::onOutputAdded(const IOutput* output) {
    markDirty();
    if (m_destroying) return;
    const NodeChangeScope scope(m_scene);
    if (m_scene) sceneOf(m_scene)->notifyOutputAdded(output);
}

void Node::onInputRemoved(const IInput* input) {
    markDirty();
    if (m_destroying || input->isSilent()) return;
    const NodeChangeScope scope(m_scene);
    if (m_scene) sceneOf(m_scene)->notifyInputRemoved(input);
}

void Node::onOutputRemoved(const IOutput* output) {
    markDirty();
    if (m_destroying) return;
    const NodeChangeScope scope(m_scene);
    if (m_scene) sceneOf(m_scene)->notifyOutputRemoved(output);
}

// Opening the scope may set off the node's end, hence the second question in these five. The scene
// and the library hear of a value or connection all the same.

void Node::onInputChanged(const IInput* input, const AttrData* previous) {
    markDirty();
    if (m_destroying) return;
    Survivors survivors;
    const bool hasCallback = m_nodeChanged != nullptr;
    if (hasCallback) survivors.keep(this, input);
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellObservers([&](NodeObserver* observer) {
            survivors.keep(this, input);
            observer->inputChanged(handleOn(input));
        });
    if (m_scene) sceneOf(m_scene)->notifyInputChanged(input, previous);
    // Without a callback nothing kept this node while the scene was told.
    if (hasCallback && m_nodeChanged) m_nodeChanged(const_cast<IInput*>(input));
}

void Node::onInputConnected(const IInput* input, const IOutput* before, const IOutput* after) {
    markDirty();
    if (m_destroying) return;
    Survivors survivors;
    const NodeChangeScope scope(m_scene);
    if (!m_destroying)
        tellObservers([&](NodeObserver* observer) {
            survivors.keep(this, input);
            observer->inputConnected(handleOn(input));
        });
    if (m_scene) sceneOf(m_scene)->notifyInputConnected(input, before, after);
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
