#include "sdk/impl/scene.h"

#include "sdk/impl/batches.h"
#include "sdk/impl/edit_step.h"
#include "sdk/impl/eval_cache.h"
#include "sdk/impl/input.h"
#include "sdk/impl/input_changes.h"
#include "sdk/impl/modifiers.h"
#include "sdk/impl/node.h"
#include "sdk/impl/node_changes.h"
#include "sdk/impl/node_links.h"
#include "sdk/impl/output.h"
#include "sdk/scene.h"

#include "base/log.h"

// ---- Nodes ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk {

Scene Scene::create() {
    return Scene(adoptRef, new impl::Scene);
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Ends every connection of an input and of what it holds.
void disconnectAll(IInput& input) {
    input.disconnect();
    for (u64 i = 0; i < input.inputCount(); ++i)
        disconnectAll(*input.input(i));
}

} // namespace

bool Scene::checkName(const String& name, const char* what) {
    if (name.isSimpleCID()) return true;
    logError("Cannot use '%s' as a node's %s: it is no simple identifier.", name.buf(), what);
    return false;
}

Scene::Scene() = default;

Scene::~Scene() {
    m_history.clear();
    // None may reach the scene any more, whatever their ends set off in others.
    m_nodes.forEach([](Node* node) { node->setScene(nullptr); });
    if (m_modifiers) m_modifiers->letGo();
    m_links.clear([](Input& input) { input.forgetLink(); });
    m_stashLinks.clear([](Input& input) { input.forgetStashedLink(); });
    m_nodes.forEach([](Node* node) { node->decRef(); });
}

void Scene::incRef() {
    m_refCount.fetch_add(1);
}

void Scene::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

INode* Scene::findNode(String name) {
    return m_nodes.find(name);
}

INode* Scene::createNode(String type, String name) {
    if (!checkName(type, "type") || !checkName(name, "name")) return nullptr;
    const Node* definition = findType(type);
    if (definition && definition->isAbstract()) {
        logError("Cannot create node '%s': its type '%s' is abstract.", name.buf(), type.buf());
        return nullptr;
    }
    String free = m_nodes.freeName(name);
    const RefersTo<Node> node = makeNode(definition, std::move(type), std::move(free));
    return addNode(node.get()) ? node.get() : nullptr;
}

// A copy of the definition or, when that is null, a bare node.
RefersTo<Node> Scene::makeNode(const Node* definition, String type, String name) {
    return RefersTo<Node>::adopt(definition ? definition->clone(this, std::move(name))
                                            : new Node(this, std::move(type), std::move(name)));
}

bool Scene::addNode(Node* node) {
    String name = node->name();
    if (!checkName(name, "name") || m_nodes.find(name) == node) return false;
    String free = m_nodes.freeName(name);
    EditStep step(*this);
    step.prepare<NodeChange>(*node, m_nodes.size(), true);
    if (!free.equals(name)) node->setName(free);
    m_nodes.add(free, node);
    step.commit();
    enter(*node);
    return true;
}

// Needs one that is in the table.
void Scene::enter(Node& node) {
    node.incRef();
    node.setScene(this);
    for (IInput* input : node.inputs())
        static_cast<Input*>(input)->rememberLinks();
    if (m_dirtyCache) m_dirtyCache->added(node);
    if (m_evalCache) m_evalCache->nodeAdded(node);
    setDirty();
    tellObservers(&node, [&](SceneObserver& observer) { observer.nodeAdded(&node); });
    if (modifierListOf(node)) applyModifiers(&node);
}

bool Scene::contains(const INode& node) const {
    return m_nodes.find(node.name()) == &node;
}

bool Scene::removeNode(INode* node) {
    if (!node || !contains(*node)) return false;
    const RefersTo<Node> held(static_cast<Node*>(node));
    EditStep step(*this);
    clearReferences(*held);
    // An observer of the references may be faster.
    if (!contains(*held)) return true;
    if (auto* change = step.prepare<NodeChange>(*held, m_nodes.indexOf(held->name()), false))
        change->takeComments(m_comments);
    step.commit();
    leave(*held);
    return true;
}

// Needs a node that nothing refers to.
void Scene::leave(Node& node) {
    const RefersTo<Node> held(adoptRef, m_nodes.remove(node.name()));
    m_comments.remove(&node);
    if (m_dirtyCache) m_dirtyCache->removed(node);
    if (m_evalCache) m_evalCache->forget(node);
    setDirty();
    if (m_modifiers) m_modifiers->leaves(node);
    node.notifyRemoved();
    tellObservers(&node, [&](SceneObserver& observer) { observer.nodeRemoved(&node); });
    node.setScene(nullptr);
}

// Descriptions are shared: those that name the node are replaced.
void Scene::clearDescriptions(const Node& node) {
    std::unordered_map<const AttrDetails*, RefersTo<AttrDetails>> replaced;
    m_nodes.forEach([&](const Node* each) {
        visitInputs(*each, [&](Input& input) {
            const AttrDetails* details = input.details();
            if (!details || !details->names(node)) return;
            auto& without = replaced[details];
            if (!without) without = details->without(node);
            EditStep step(*this);
            step.prepare<DetailsChange>(input);
            input.setDetails(without);
            step.commit();
        });
    });
}

// Observers may link to the node again while they are told; each link is cleared once.
void Scene::clearReferences(Node& node) {
    for (LinkTable* links : {&m_links, &m_stashLinks}) {
        for (u64 left = links->count(&node); left > 0; --left)
            if (Input* input = links->first(&node)) input->relink(*this, node, nullptr);
    }
    if (m_describesNodes) clearDescriptions(node);
    for (u64 i = 0; i < node.inputCount(); ++i)
        disconnectAll(*node.input(i));
    for (u64 i = 0; i < node.outputCount(); ++i)
        static_cast<Output*>(node.output(i))->disconnectTargets();
}

bool Scene::renameNode(INode* node, String name) {
    if (!node || !contains(*node)) return false;
    if (!checkName(name, "name")) return false;
    auto* renamed = static_cast<Node*>(node);
    const String before = renamed->name();
    if (before.equals(name)) return true;
    EditStep step(*this);
    step.prepare<NodeRename>(*renamed, before);
    step.commit();
    rename(*renamed, before.equalsNoCase(name) ? name : m_nodes.freeName(name));
    return true;
}

// Needs a name that is free.
void Scene::rename(Node& node, String name) {
    const String before = node.name();
    m_nodes.rename(before, name);
    node.setName(name);
    setDirty();
    node.notifyRenamed(name);
    tellObservers(&node, [&](SceneObserver& observer) { observer.nodeRenamed(&node, before); });
}

bool Scene::moveNode(INode* node, u64 to) {
    if (!node || !contains(*node) || to >= m_nodes.size()) return false;
    auto* moved = static_cast<Node*>(node);
    const u64 from = m_nodes.indexOf(moved->name());
    if (from == to) return true;
    EditStep step(*this);
    step.prepare<NodeMove>(*moved, from, to);
    step.commit();
    move(*moved, from, to);
    return true;
}

void Scene::move(Node& node, u64 from, u64 to) {
    m_nodes.move(node.name(), to);
    setDirty();
    tellObservers(&node, [&](SceneObserver& observer) { observer.nodeMoved(&node, from); });
}

void Scene::clear() {
    const EditStep step(*this);
    while (Node* last = m_nodes.at(m_nodes.size() - 1))
        removeNode(last);
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
