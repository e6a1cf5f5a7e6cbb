// ---- Copies ----------------------------------------------------------------------------
// Links and connections among copied nodes lead to the copies, all others to the same nodes as
// before.

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/node_converter.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/record_scope.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/all_calls.h"
#include "kelvo/sdk/impl/history/news_hold.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <unordered_map>

namespace qv::kelvo_sdk::impl {

// Nodes and their copies, which are not in the scene yet.
class NodeCopies {
public:
    explicit NodeCopies(Scene& scene) noexcept : m_scene(scene) {}
    // Detaches copies that were not added, so that destroying them does not involve the scene.
    ~NodeCopies() {
        for (const RefersTo<Node>& copy : m_copies)
            if (copy->scene() == &m_scene && !m_scene.contains(*copy)) copy->setScene(nullptr, {});
    }
    NodeCopies(const NodeCopies&) = delete;
    NodeCopies& operator=(const NodeCopies&) = delete;

    void add(const Node& original) {
        m_copies.push_back(original.copyFor(&m_scene, m_scene.freeName(original.name())));
        Node& copy = *m_copies.back();
        m_scene.initialise(copy);
        // The copy takes the state over, but no code would end its modification.
        copy.endModification();
        m_byOriginal.emplace(&original, &copy);
        m_names.push_back(original.name());
    }
    void tie() const {
        for (const RefersTo<Node>& copy : m_copies)
            visitInputs(*copy, [this](Input& input) { tie(input); });
    }
    // Adds all copies or, when it throws, none. Needs a step that records.
    void addAll() const {
        const u64 start = m_scene.history().openChanges();
        NewsHold news;
        addUnheard();
        try {
            news.release();
        } catch (...) {
            m_scene.history().takeBack(start);
            throw;
        }
    }
    [[nodiscard]] Node* of(const INode* original) const {
        const auto found = m_byOriginal.find(original);
        return found == m_byOriginal.end() ? nullptr : found->second;
    }

private:
    void addUnheard() const {
        const EditStep step(m_scene);
        for (u64 i = 0; i < m_copies.size(); ++i) {
            // Several copies may have been promised the same name.
            m_copies[i]->setName(m_scene.freeName(m_names[i]), {});
            m_scene.addNode(m_copies[i].get());
        }
    }
    void tie(Input& input) const {
        Output* source = input.sourceOutput();
        INode* link = linkedNode(input);
        Node* copiedSource = source ? of(source->node()) : nullptr;
        Node* copiedLink = link ? of(link) : nullptr;
        if (const Value* kept = input.stashed(); kept && kept->type() == AttrType::Node)
            if (Node* copy = of(kept->asNode())) input.replaceStash(Value(copy), {});
        if (!copiedSource && !copiedLink) return;
        if (copiedSource) source = sameOf(*source, *copiedSource);
        input.redirect(copiedLink ? copiedLink : link, source, noIndex, {});
    }
    // Finds an output in a copy; a library may have changed the outputs when it initialised the
    // copy.
    static Output* sameOf(const Output& output, const Node& copy) {
        const auto& from = implOf(*output.node());
        const auto index = static_cast<u64>(from.indexOf(&output));
        auto* same = implOf(index < copy.outputCount() ? copy.outputs()[index] : nullptr);
        return same && same->type() == output.type() ? same : nullptr;
    }
    Scene& m_scene;
    std::unordered_map<const INode*, Node*> m_byOriginal;
    std::vector<RefersTo<Node>> m_copies;
    std::vector<String> m_names;
};

namespace {

// Returns losses to the caller if that asks for them, else logs them.
void report(ConversionLosses& found, const Node& made, ConversionLosses* losses) {
    for (ConversionLoss& loss : found) {
        if (losses)
            losses->push_back(std::move(loss));
        else
            logWarning("Converted to '%s': '%s' %s.", made.type().buf(), loss.path.buf(),
                       loss.reason.buf());
    }
}

// Moves the links to a node to its replacement; links of the node to itself are unchanged.
void moveLinks(Scene& scene, Node& node, Node& replacement) {
    std::vector<RefersTo<Input>> linked;
    const auto collect = [&](Input& input) {
        if (input.node() != &node) linked.emplace_back(&input);
    };
    scene.links().forEach(&node, collect);
    scene.stashLinks().forEach(&node, collect);
    for (const RefersTo<Input>& input : linked)
        input->relink(node, &replacement);
}

} // namespace

INode* Scene::cloneNode(INode* node, bool deep) {
    if (!node || !checkNodeName(node->name(), "name")) return nullptr;
    const RefersTo<Scene> self(this);
    const RefersTo<Node> copy = cloneInStep(*node, deep);
    return given(copy.get());
}

RefersTo<Node> Scene::cloneInStep(INode& node, bool deep) {
    const RecordScope record(*this);
    const EditStep step(*this);
    ds::Vector<INode*> found;
    if (deep)
        findDeps(&node, found, false);
    else
        found.push_back(&node);
    // Keeps the originals alive, because init callbacks may remove nodes.
    struct Original {
        RefersTo<Node> node;
        u64 place;
    };
    std::vector<Original> originals;
    for (INode* next : found) {
        const bool isHere = contains(*next);
        if (!isHere && next != &node) continue;
        const u64 place = isHere ? m_nodes.placeOf(next->name()) : 0;
        originals.push_back({RefersTo<Node>(implOf(next)), place});
    }
    std::ranges::stable_sort(originals, {}, &Original::place);
    NodeCopies copies(*this);
    for (const Original& original : originals)
        copies.add(*original.node);
    copies.tie();
    RefersTo<Node> copy(copies.of(&node));
    copies.addAll();
    return copy;
}

INode* Scene::convertNode(INode* node, String type) {
    return convertNoting(node, std::move(type), nullptr);
}

INode* Scene::convertNoting(INode* node, String type, ConversionLosses* losses) {
    if (!node || !contains(*node) || !checkNodeName(type, "type")) return nullptr;
    const Node* definition = findType(type);
    if (definition && definition->isAbstract()) {
        logError("%s", abstractConversion(*node, type).buf());
        return nullptr;
    }
    const RefersTo<Scene> self(this);
    const RefersTo<Node> made = convertInStep(implOf(*node), std::move(type), definition, losses);
    return given(made.get());
}

// Returns null when the library removed the node.
RefersTo<Node> Scene::convertInStep(Node& node, String type, const Node* definition,
                                    ConversionLosses* losses) {
    const RecordScope record(*this);
    const EditStep step(*this);
    const RefersTo<Node> held(&node);
    RefersTo<Node> replacement = makeNode(definition, std::move(type), node.name());
    // Hides the replacement from the scene until it is in place.
    replacement->setScene(nullptr, {});
    NodeConverter converter(*this, node, *replacement, findType(node.type()),
                            definition != nullptr);
    converter.fill();
    if (!contains(node)) return {};
    replaceBy(*replacement, node, converter, losses);
    return replacement;
}

// Replaces the node completely or, when out of memory, not at all.
void Scene::replaceBy(Node& replacement, Node& node, NodeConverter& converter,
                      ConversionLosses* losses) {
    NewsHold news;
    EditStep step(*this);
    expect(static_cast<const INode*>(&node));
    expect(static_cast<const INode*>(&replacement));
    auto* change = step.prepare<NodeExchange>(node, replacement, m_comments);
    replacement.setName(node.name(), {});
    exchange(node, replacement, {});
    step.commit();
    moveLinks(*this, node, replacement);
    converter.moveTargets();
    if (change)
        change->cutSources();
    else
        visitInputs(node,
                    [](Input& input) { input.redirect(linkedNode(input), nullptr, noIndex, {}); });
    if (losses) losses->reserve(losses->size() + converter.losses().size());
    converter.moveComments();
    tellConverted(node, replacement);
    report(converter.losses(), replacement, losses);
    leave(node);
    news.release();
}

void Scene::converted(Node& node, Node& replacement, Only<NodeExchange> /*key*/) {
    leave(node);
    tellConverted(node, replacement);
}

void Scene::tellConverted(Node& node, Node& replacement) {
    if (NewsHold* hold = NewsHold::current()) {
        if (hold->isMuted()) return letGo(node);
        return hold->add([self = RefersTo<Scene>(this), out = RefersTo<Node>(&node),
                          in = RefersTo<Node>(&replacement)] { self->tellConverted(*out, *in); });
    }
    AllCalls calls;
    calls.make([&] { node.notifyConverted(&replacement); });
    calls.make([&] {
        tellObservers(
            &node, [&](SceneObserver& observer) { observer.nodeConverted(&node, &replacement); });
    });
    letGo(node);
    calls.make([&] { applyModifiers(&replacement); });
    calls.end();
}

void Scene::exchange(Node& node, Node& replacement, Only<NodeExchange, Scene> /*key*/) {
    node.surroundingsChanged();
    replacement.setNumber(m_nodes.replace(node.name(), &replacement), {});
    replacement.incRef();
    node.decRef();
    node.setHasLeft(true, {});
    replacement.setScene(this, {});
    replacement.setHasLeft(false, {});
    adoptLinks(replacement);
    m_followers.each([&](SceneFollower& follower) {
        follower.nodeTakenOut(node);
        follower.nodeEntered(replacement);
    });
    setDirty();
}

} // namespace qv::kelvo_sdk::impl
