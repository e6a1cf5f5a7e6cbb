// ---- Nodes -----------------------------------------------------------------------------
// Names are unique without regard to case.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/history/all_calls.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/scene.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

INode* Scene::findNode(String name) {
    return m_nodes.find(name);
}

INode* Scene::createNode(String type, String name) {
    if (!checkNodeName(type, "type") || !checkNodeName(name, "name")) return nullptr;
    const Node* definition = findType(type);
    if (definition && definition->isAbstract()) {
        logError("%s", abstractCreation(type, name).buf());
        return nullptr;
    }
    const RefersTo<Scene> self(this);
    RefersTo<Node> node;
    {
        // Edits of the library while it makes the node belong to the same step.
        const EditStep step(*this);
        node = makeNode(definition, std::move(type), name);
        addNode(node.get());
    }
    return stillHere(node.get());
}

// Returns the node that the scene made; null when an observer removed it again, or when only the
// caller's reference still keeps the scene alive.
INode* Scene::stillHere(const Node* made) const noexcept {
    return made && contains(*made) && m_refCount.load() != 1 ? const_cast<Node*>(made) : nullptr;
}

// Returns a copy of the prototype or, when that is null, a bare node. `addNode` may still change
// its name.
RefersTo<Node> Scene::makeNode(const Node* definition, String type, const String& name) {
    String free = m_nodes.freeName(name);
    if (!definition) return RefersTo<Node>::adopt(new Node(this, std::move(type), std::move(free)));
    RefersTo<Node> node = definition->copyFor(this, std::move(free));
    initialise(*node);
    return node;
}

void Scene::initialise(Node& node) {
    if (!node.hasNodeInit()) return;
    struct Making {
        ~Making() { std::erase(scene->m_beingMade, node); }
        RefersTo<Scene> scene;
        const INode* node;
    } const making{RefersTo<Scene>(this), &node};
    m_beingMade.push_back(&node);
    node.nodeInit();
}

namespace {

void tellPlaceTaken(const SceneFollowers& followers, const Node& node) noexcept {
    followers.each([&](SceneFollower& follower) { follower.placeTaken(node); });
}

void tellPlaceLeaving(const SceneFollowers& followers, const Node& node) noexcept {
    followers.each([&](SceneFollower& follower) { follower.placeLeaving(node); });
}

} // namespace

bool Scene::addNode(Node* node) {
    if (!checkNodeName(node->ownName(), "name") || contains(*node)) return false;
    String free = m_nodes.freeName(node->ownName());
    EditStep step(*this);
    step.prepare<NodeChange>(*node, m_nodes.size(), true);
    expect(static_cast<const INode*>(node));
    node->setNumber(m_nodes.add(free, node), {});
    node->setName(std::move(free), {});
    tellPlaceTaken(m_followers, *node);
    step.commit();
    enter(*node, {});
    return true;
}

void Scene::putBack(Node& node, NodeTable::Place place, u64 index, Only<NodeChange> /*key*/) {
    node.setNumber(m_nodes.add(std::move(place), node.name(), &node, index), {});
    tellPlaceTaken(m_followers, node);
}

void Scene::enter(Node& node, Only<NodeChange, Scene> /*key*/) {
    node.incRef();
    node.setScene(this, {});
    node.setHasLeft(false, {});
    adoptLinks(node);
    m_followers.each([&](SceneFollower& follower) { follower.nodeEntered(node); });
    setDirty();
    const DeferredNotifications* hold = DeferredNotifications::current();
    if (hold && hold->isMuted() && modifierListOf(node)) applyModifiersLater();
    tellAdded(node);
}

void Scene::tellAdded(Node& node) {
    if (!hasObservers() && !modifierListOf(node)) return;
    const RefersTo<Scene> self(this);
    const RefersTo<Node> held(&node);
    if (DeferredNotifications* hold = DeferredNotifications::current())
        return hold->add([=] { self->tellAdded(*held); });
    AllCalls calls;
    calls.make(
        [&] { tellObservers(&node, [&](SceneObserver& observer) { observer.nodeAdded(&node); }); });
    calls.make([&] {
        if (modifierListOf(node)) applyModifiers(&node);
    });
    calls.end();
}

// Moves links to the node from the tables of free nodes to those of the scene.
void Scene::adoptLinks(Node& node) {
    LinkTable::ofFreeNodes().moveTo(m_links, &node);
    LinkTable::keptOfFreeNodes().moveTo(m_stashLinks, &node);
}

bool Scene::contains(const INode& node) const {
    return graph().node(implOf(node).number()) == &node;
}

u64 Scene::indexOf(const INode& node) const noexcept {
    return m_nodes.indexOf(implOf(node).ownName());
}

bool Scene::removeNode(INode* node) {
    if (!node || !contains(*node)) return false;
    const RefersTo<Scene> self(this);
    const RefersTo<Node> held(implOf(node));
    DeferredNotifications deferred;
    EditStep step(*this);
    clearReferences(*held, {});
    const u64 index = step.isRecording() ? indexOf(*held) : noIndex;
    auto* change = step.prepare<NodeChange>(*held, index, false);
    expect(static_cast<const INode*>(node));
    if (change) change->takeAlong(m_comments);
    NodeTable::Place place = takeOut(*held, {});
    if (change) change->keep(std::move(place));
    step.commit();
    leave(*held);
    AllCalls calls;
    calls.make([&] { deferred.release(); });
    calls.make([&] { tellRemoved(*held); });
    calls.end();
    return true;
}

NodeTable::Place Scene::takeOut(Node& node, Only<NodeChange, Scene> /*key*/) {
    surroundingsChanged(node);
    tellPlaceLeaving(m_followers, node);
    NodeTable::Place place = m_nodes.take(node.ownName());
    node.setHasLeft(true, {});
    node.decRef();
    m_comments.remove(&node);
    m_followers.each([&](SceneFollower& follower) { follower.nodeTakenOut(node); });
    setDirty();
    return place;
}

// Call when the change that removed the node is complete.
void Scene::leave(Node& node) {
    m_followers.each([&](SceneFollower& follower) { follower.nodeLeft(node); });
}

void Scene::dropUnnotified(Node& node, Only<SceneBuilder> /*key*/) noexcept {
    takeOut(node, {});
    node.setScene(nullptr, {});
}

void Scene::removed(Node& node, Only<NodeChange> /*key*/) {
    leave(node);
    tellRemoved(node);
}

void Scene::tellRemoved(Node& node) {
    if (DeferredNotifications* hold = DeferredNotifications::current()) {
        if (hold->isMuted()) return detach(node);
        return hold->add([self = RefersTo<Scene>(this), held = RefersTo<Node>(&node)] {
            self->tellRemoved(*held);
        });
    }
    AllCalls calls;
    calls.make([&] { node.notifyRemoved(); });
    calls.make([&] {
        tellObservers(&node, [&](SceneObserver& observer) { observer.nodeRemoved(&node); });
    });
    detach(node);
    calls.end();
}

// Detaches a removed node from the scene, unless observers added it to a scene again.
void Scene::detach(Node& node) noexcept {
    if (node.scene() == this && node.hasLeft()) node.setScene(nullptr, {});
}

namespace {

// Replaces the descriptions that name the node, because inputs share them.
void clearDescriptions(Scene& scene, const Node& node) {
    std::unordered_map<const AttrDetails*, RefersTo<AttrDetails>> replaced;
    scene.forEachNode([&](const Node* each) {
        visitInputs(*each, [&](Input& input) {
            const AttrDetails* details = input.details();
            if (!details || !details->names(node)) return;
            auto& without = replaced[details];
            if (!without) without = details->without(node);
            EditStep step(scene);
            step.prepare<DetailsChange>(input);
            scene.expect(static_cast<const IInput*>(&input));
            input.setDetails(without);
            step.commit();
        });
    });
}

} // namespace

void Scene::clearReferences(Node& node, Only<NodeChange, Scene> /*key*/) {
    for (LinkTable* links : {&m_links, &m_stashLinks})
        while (Input* input = links->first(&node))
            input->relink(node, nullptr);
    if (m_describesNodes) clearDescriptions(*this, node);
    visitInputsInPlace(node, [](Input& input) { input.disconnect(); });
    for (u64 i = 0; i < node.outputCount(); ++i)
        implOf(node.output(i))->disconnectTargets();
}

bool Scene::renameNode(INode* node, String name) {
    if (!node || !contains(*node)) return false;
    if (!checkNodeName(name, "name")) return false;
    auto* renamed = implOf(node);
    const RefersTo<Scene> self(this);
    const String before = renamed->name();
    if (before.equals(name)) return true;
    if (!before.equalsNoCase(name)) name = m_nodes.freeName(name);
    EditStep step(*this);
    step.prepare<NodeRename>(*renamed, before);
    expect(static_cast<const INode*>(node));
    step.commit();
    rename(*renamed, std::move(name), {});
    return true;
}

void Scene::rename(Node& node, String name, Only<NodeRename, Scene> /*key*/) {
    const String before = node.name();
    m_nodes.rename(before, name);
    node.setName(name, {});
    setDirty();
    tellRenamed(node, name, before);
}

void Scene::tellRenamed(Node& node, const String& name, const String& before) {
    const RefersTo<Scene> self(this);
    const RefersTo<Node> held(&node);
    if (DeferredNotifications* hold = DeferredNotifications::current())
        return hold->add([=] { self->tellRenamed(*held, name, before); });
    AllCalls calls;
    calls.make([&] { node.notifyRenamed(name); });
    calls.make([&] {
        tellObservers(&node, [&](SceneObserver& observer) { observer.nodeRenamed(&node, before); });
    });
    calls.end();
}

bool Scene::moveNode(INode* node, u64 to) {
    if (!node || !contains(*node) || to >= m_nodes.size()) return false;
    auto* moved = implOf(node);
    const RefersTo<Scene> self(this);
    const u64 from = indexOf(*moved);
    if (from == to) return true;
    EditStep step(*this);
    step.prepare<NodeMove>(*moved, from, to);
    expect(static_cast<const INode*>(node));
    step.commit();
    move(*moved, from, to, {});
    return true;
}

void Scene::move(Node& node, u64 from, u64 to, Only<NodeMove, Scene> /*key*/) {
    tellPlaceLeaving(m_followers, node);
    m_nodes.move(node.name(), to);
    tellPlaceTaken(m_followers, node);
    setDirty();
    tellMoved(node, from);
}

void Scene::tellMoved(Node& node, u64 from) {
    if (DeferredNotifications* hold = DeferredNotifications::current())
        return hold->add([self = RefersTo<Scene>(this), held = RefersTo<Node>(&node), from] {
            self->tellMoved(*held, from);
        });
    tellObservers(&node, [&](SceneObserver& observer) { observer.nodeMoved(&node, from); });
}

void Scene::clear() {
    const RefersTo<Scene> self(this);
    DeferredNotifications deferred;
    const EditStep step(*this);
    while (Node* last = m_nodes.at(m_nodes.size() - 1))
        removeNode(last);
    deferred.release();
}

u64 Scene::nodeCount() const {
    return m_nodes.size();
}

INode* Scene::node(u64 index) const {
    return m_nodes.at(index);
}

String Scene::freeName(const String& name) const {
    return m_nodes.freeName(name);
}

} // namespace qv::kelvo_sdk::impl
