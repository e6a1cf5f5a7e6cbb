#include "sdk/impl/scene.h"

#include "sdk/impl/eval_cache.h"
#include "sdk/impl/input.h"
#include "sdk/impl/modifiers.h"
#include "sdk/impl/node.h"
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
    // None may reach the scene any more, whatever their ends set off in others.
    m_nodes.forEach([](Node* node) { node->setScene(nullptr); });
    if (m_modifiers) m_modifiers->letGo();
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
    m_nodes.add(free, node);
    node->incRef();
    node->setScene(this);
    if (!free.equals(name)) node->setName(std::move(free));
    for (IInput* input : node->inputs())
        static_cast<Input*>(input)->rememberLinks();
    if (m_dirtyCache) m_dirtyCache->added(*node);
    if (m_evalCache) m_evalCache->nodeAdded(*node);
    setDirty();
    tellObservers(node, [node](SceneObserver& observer) { observer.nodeAdded(node); });
    if (modifierListOf(*node)) applyModifiers(node);
    return true;
}

bool Scene::contains(const INode& node) const {
    return m_nodes.find(node.name()) == &node;
}

bool Scene::removeNode(INode* node) {
    if (!node || !contains(*node)) return false;
    auto* removed = static_cast<Node*>(node);
    clearReferences(*removed);
    const RefersTo<Node> held(adoptRef, m_nodes.remove(removed->name()));
    if (!held) return true; // An observer of the references was faster.
    m_comments.remove(removed);
    if (m_dirtyCache) m_dirtyCache->removed(*removed);
    if (m_evalCache) m_evalCache->forget(*removed);
    setDirty();
    if (m_modifiers) m_modifiers->leaves(*removed);
    removed->notifyRemoved();
    tellObservers(removed, [removed](SceneObserver& observer) { observer.nodeRemoved(removed); });
    removed->setScene(nullptr);
    return true;
}

// Observers may link to the node again while they are told; each link is cleared once.
void Scene::clearReferences(Node& node) {
    for (LinkTable* links : {&m_links, &m_stashLinks}) {
        for (u64 left = links->count(&node); left > 0; --left)
            if (Input* input = links->first(&node)) input->relink(node, nullptr);
    }
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
    String after = before.equalsNoCase(name) ? name : m_nodes.freeName(name);
    m_nodes.rename(before, after);
    renamed->setName(after);
    setDirty();
    renamed->notifyRenamed(after);
    tellObservers(renamed, [&](SceneObserver& observer) { observer.nodeRenamed(renamed, before); });
    return true;
}

void Scene::clear() {
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
