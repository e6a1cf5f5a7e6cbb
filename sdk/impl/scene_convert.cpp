#include "sdk/impl/edit_step.h"
#include "sdk/impl/eval_cache.h"
#include "sdk/impl/input.h"
#include "sdk/impl/input_extras.h"
#include "sdk/impl/modifiers.h"
#include "sdk/impl/node_change_scope.h"
#include "sdk/impl/node_changes.h"
#include "sdk/impl/node_converter.h"
#include "sdk/impl/node_links.h"
#include "sdk/impl/scene.h"
#include "sdk/node.h"

#include "base/log.h"

#include <algorithm>
#include <unordered_map>

// ---- Copies --------------------------------------------------------------------------------
// Links and connections among what is copied lead to the copies, all others where they led.

namespace qv::kelvo_sdk {

Node Node::convertTo(String type, Misfits* misfits) const {
    interfaces::IScene* scene = get() ? get()->scene() : nullptr;
    return scene ? Node(scene->convertNoting(get(), std::move(type), misfits)) : Node();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Nodes and their copies, which nobody knows yet.
class Copies {
public:
    void add(const Node& original, Scene& scene) {
        auto copy = RefersTo<Node>::adopt(original.clone(&scene, scene.freeName(original.name())));
        // Nobody would end it.
        copy->endModification();
        m_byOriginal.emplace(&original, copy.get());
        m_copies.push_back(std::move(copy));
        m_names.push_back(original.name());
    }
    void tie() const {
        for (const RefersTo<Node>& copy : m_copies)
            visitInputs(*copy, [this](Input& input) { tie(input); });
    }
    // All of them or, when an observer throws, none.
    void addTo(Scene& scene) const {
        try {
            for (u64 i = 0; i < m_copies.size(); ++i) {
                // Several may have been promised the same one.
                m_copies[i]->setName(scene.freeName(m_names[i]));
                scene.addNode(m_copies[i].get());
            }
        } catch (...) {
            takeBack(scene);
            throw;
        }
    }
    [[nodiscard]] Node* of(const INode* original) const {
        const auto found = m_byOriginal.find(original);
        return found == m_byOriginal.end() ? nullptr : found->second;
    }

private:
    void tie(Input& input) const {
        Output* source = input.sourceOutput();
        INode* link = linkedNode(input);
        Node* copiedSource = source ? of(source->node()) : nullptr;
        Node* copiedLink = link ? of(link) : nullptr;
        if (const Value* kept = input.stashed(); kept && kept->type() == AttrType::Node)
            if (Node* copy = of(kept->asNode())) input.setStashed(Value(static_cast<INode*>(copy)));
        if (!copiedSource && !copiedLink) return;
        if (copiedSource) {
            const auto& from = static_cast<const Node&>(*source->node());
            source = static_cast<Output*>(
                copiedSource->outputs()[static_cast<u64>(from.indexOf(source))]);
        }
        input.redirect(copiedLink ? copiedLink : link, source);
    }
    // What observers throw now is lost: there is an exception on its way.
    void takeBack(Scene& scene) const noexcept {
        for (const RefersTo<Node>& copy : m_copies) {
            try {
                scene.removeNode(copy.get());
            } catch (...) {
                continue;
            }
        }
    }

    std::unordered_map<const INode*, Node*> m_byOriginal;
    std::vector<RefersTo<Node>> m_copies;
    std::vector<String> m_names;
};

} // namespace

INode* Scene::cloneNode(INode* node, bool deep) {
    if (!node || !checkName(node->name(), "name")) return nullptr;
    const NodeChangeScope scope(this);
    ds::Vector<INode*> found;
    if (deep)
        findDeps(node, found, false);
    else
        found.push_back(node);
    // Init callbacks may remove nodes.
    std::vector<RefersTo<Node>> originals;
    for (INode* next : found)
        if (next == node || contains(*next)) originals.emplace_back(static_cast<Node*>(next));
    const auto placeOf = [this](const RefersTo<Node>& next) {
        return contains(*next) ? m_nodes.placeOf(next->name()) : 0;
    };
    std::ranges::stable_sort(originals, {}, placeOf);
    Copies copies;
    for (const RefersTo<Node>& original : originals)
        copies.add(*original, *this);
    copies.tie();
    const RefersTo<Node> copy(copies.of(node));
    copies.addTo(*this);
    return contains(*copy) ? copy.get() : nullptr;
}

INode* Scene::convertNode(INode* node, String type) {
    return convertNoting(node, std::move(type), nullptr);
}

INode* Scene::convertNoting(INode* node, String type, Misfits* misfits) {
    if (!node || !contains(*node) || !checkName(type, "type")) return nullptr;
    const Node* definition = findType(type);
    if (definition && definition->isAbstract()) {
        logError("Cannot convert node '%s': type '%s' is abstract.", node->name().buf(),
                 type.buf());
        return nullptr;
    }
    const NodeChangeScope scope(this);
    const EditStep whole(*this);
    const RefersTo<Node> held(static_cast<Node*>(node));
    const RefersTo<Node> replacement = makeNode(definition, std::move(type), node->name());
    // Nobody is to hear of it before it is in place.
    replacement->setScene(nullptr);
    NodeConverter converter(*this, *held, *replacement, findType(held->type()),
                            definition != nullptr);
    converter.fill();
    // A callback of its library may have removed the node.
    if (!contains(*held)) return nullptr;
    EditStep step(*this);
    auto* change = step.prepare<NodeExchange>(*held, *replacement, m_comments);
    replacement->setName(held->name());
    exchange(*held, *replacement);
    step.commit();
    converter.moveComments();
    moveLinks(*held, *replacement);
    converter.moveTargets();
    if (change)
        change->cutSources();
    else
        visitInputs(*held, [](Input& input) { input.redirect(linkedNode(input), nullptr); });
    converted(*held, *replacement);
    for (Misfit& misfit : converter.misfits()) {
        if (misfits)
            misfits->push_back(std::move(misfit));
        else
            logWarning("Converted to '%s': '%s' %s.", replacement->type().buf(), misfit.path.buf(),
                       misfit.reason.buf());
    }
    return contains(*replacement) ? replacement.get() : nullptr;
}

// Tells everyone that the replacement is in place of the node.
void Scene::converted(Node& node, Node& replacement) {
    if (m_modifiers) m_modifiers->leaves(node);
    node.notifyConverted(&replacement);
    tellObservers(&node,
                  [&](SceneObserver& observer) { observer.nodeConverted(&node, &replacement); });
    node.setScene(nullptr);
    if (contains(replacement)) applyModifiers(&replacement);
}

// Gives the replacement, which has the same name, the place of a node of the scene.
void Scene::exchange(Node& node, Node& replacement) {
    m_nodes.replace(node.name(), &replacement);
    replacement.incRef();
    node.decRef();
    replacement.setScene(this);
    for (IInput* input : replacement.inputs())
        static_cast<Input*>(input)->rememberLinks();
    if (m_dirtyCache) m_dirtyCache->removed(node);
    if (m_dirtyCache) m_dirtyCache->added(replacement);
    if (m_evalCache) m_evalCache->forget(node);
    if (m_evalCache) m_evalCache->nodeAdded(replacement);
    setDirty();
}

// The node's own links to itself stay with it. Who is told may change links and inputs.
void Scene::moveLinks(Node& node, Node& replacement) {
    std::vector<RefersTo<Input>> linked;
    const auto collect = [&](Input& input) {
        if (input.node() != &node) linked.emplace_back(&input);
    };
    m_links.forEach(&node, collect);
    m_stashLinks.forEach(&node, collect);
    for (const RefersTo<Input>& input : linked)
        input->relink(*this, node, &replacement);
}

} // namespace qv::kelvo_sdk::impl
