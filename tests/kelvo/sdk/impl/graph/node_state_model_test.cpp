#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

// Makes random edits of a random graph. After each, dirty flags, dependencies and hashes must equal
// those of a model that recomputes everything, by plain recursion and linear search. A failure
// prints the seed and the step.

namespace qv::kelvo_sdk::impl {
namespace {

using tests::probe;
using Nodes = std::vector<INode*>;

// ---- The model -----------------------------------------------------------------------------

void addDeps(IInput* input, Nodes& out, bool downstream);

void addDeps(INode* node, Nodes& out, bool downstream) {
    if (!node || std::ranges::find(out, node) != out.end()) return;
    out.push_back(node);
    for (u64 i = 0; i < node->inputCount(); ++i)
        addDeps(node->input(i), out, downstream);
    if (!downstream) return;
    for (u64 i = 0; i < node->outputCount(); ++i) {
        for (u64 k = 0; k < node->output(i)->targetCount(); ++k)
            addDeps(node->output(i)->target(k)->node(), out, true);
    }
}

void addDeps(IInput* input, Nodes& out, bool downstream) {
    const AttrType type = input->type();
    INode* linked = nullptr;
    if (type == AttrType::Array || type == AttrType::Object) {
        for (u64 i = 0; i < input->inputCount(); ++i)
            addDeps(input->input(i), out, downstream);
    } else if (type == AttrType::Node && input->readNode(linked, false, nullptr)) {
        addDeps(linked, out, downstream);
    }
    if (input->source()) addDeps(input->source()->node(), out, downstream);
}

Nodes dependenciesOf(INode* node, bool downstream, bool reverse) {
    Nodes out;
    addDeps(node, out, downstream);
    std::erase(out, node);
    if (reverse) std::ranges::reverse(out);
    return out;
}

u64 hashOfReference(const INode* node, const StringVector& skip) {
    if (!node || node->isTypeOf(skip)) return 0;
    return skip.contains("__node_name__", false) ? node->type().hash() : node->name().hash();
}

u64 hashOf(const IInput* input, const StringVector& skip) {
    if (const IOutput* source = input->source())
        return hashMix(hashOfReference(source->node(), skip), source->name().hash());
    const AttrType type = input->type();
    const Value& value = static_cast<const Input*>(input)->value();
    if (type == AttrType::Node) return hashOfReference(value.asNode(), skip);
    if (type != AttrType::Array && type != AttrType::Object) return value.hash();
    if (input->inputCount() == 0) return 0;
    u64 hash = hashMix(static_cast<u64>(type), input->inputCount());
    for (u64 i = 0; i < input->inputCount(); ++i) {
        if (type == AttrType::Object) hash = hashMix(hash, input->input(i)->name().hash());
        hash = hashMix(hash, hashOf(input->input(i), skip));
    }
    return hash;
}

u64 hashOf(INode* node, const StringVector& skip) {
    if (node->isTypeOf(skip)) return 0;
    const bool isNameless = skip.contains("__node_name__", false);
    u64 seed = isNameless ? node->type().hash() : node->name().hash();
    for (u64 i = 0; i < node->inputCount(); ++i) {
        const IInput* input = node->input(i);
        if (input->name() == "dir" && node->isTypeOf("path")) continue;
        const u64 h = hashOf(input, skip);
        if (h != 0) seed = seed ^ (h + u64{0x9e3779b9} + (seed << 6) + (seed >> 2));
    }
    return seed;
}

// ---- Edits ---------------------------------------------------------------------------------

/// Records which nodes changed.
class ListeningScene : public Scene {
public:
    void notifyInputAdded(const IInput* input) override { mark(input); }
    void notifyOutputAdded(const IOutput* output) override { mark(output); }
    void notifyInputRemoved(const IInput* input) override { mark(input); }
    void notifyOutputRemoved(const IOutput* output) override { mark(output); }
    void notifyInputChanged(const IInput* input, const AttrData*) override { mark(input); }
    void notifyInputConnected(const IInput* input, const IOutput*, const IOutput*) override {
        mark(input);
    }

    /// The expected flags when nothing is cached.
    std::map<const INode*, bool> dirty;

private:
    template<typename Attribute>
    void mark(const Attribute* attribute) {
        dirty[attribute->node()] = true;
    }
};

class Graph {
public:
    explicit Graph(u64 seed) : m_random(seed) {
        for (int i = 0; i < 6; ++i)
            addNode();
    }

    [[nodiscard]] u64 below(u64 count) { return m_random() % count; }
    [[nodiscard]] ListeningScene& scene() { return *m_scene; }
    [[nodiscard]] u64 size() const { return m_scene->nodeCount(); }
    [[nodiscard]] Node& node(u64 index) { return *static_cast<Node*>(m_scene->node(index)); }
    [[nodiscard]] Node& anyNode() { return node(below(size())); }
    [[nodiscard]] bool& dirty(const INode& node) { return m_scene->dirty[&node]; }
    [[nodiscard]] bool deepDirty(INode& node) {
        const Nodes needed = dependenciesOf(&node, false, false);
        return dirty(node) || std::ranges::any_of(needed, [&](INode* n) { return dirty(*n); });
    }
    void cleanAll() {
        for (u64 i = 0; i < size(); ++i)
            clean(node(i));
    }
    void clean(Node& node) {
        node.setDirty(false);
        dirty(node) = false;
    }
    void markDirty();
    void edit();

private:
    [[nodiscard]] String name(const char* prefix, u64 count) {
        return String::format("%s%d", prefix, static_cast<int>(below(count)));
    }
    [[nodiscard]] IInput* anyInput(AttrType type);
    [[nodiscard]] IInput* nestedList(AttrType type);
    void addNode();
    void addAttribute();
    void removeAttribute();
    void setValue();
    void setLink();
    void growList();
    void shrinkList();
    void moveInList();
    void connect();
    void disconnect();
    void removeNode();
    void takeOutAndBack();
    void renameNode();
    void setBases();

    std::mt19937_64 m_random;
    RefersTo<ListeningScene> m_scene = RefersTo<ListeningScene>::adopt(new ListeningScene);
};

// Returns a random input of that kind, at any depth; null if there is none.
IInput* Graph::anyInput(AttrType type) {
    std::vector<IInput*> found;
    const std::function<void(IInput*)> search = [&](IInput* input) {
        if (input->type() == type) found.push_back(input);
        for (u64 i = 0; i < input->inputCount(); ++i)
            search(input->input(i));
    };
    for (u64 i = 0; i < size(); ++i) {
        for (u64 k = 0; k < node(i).inputCount(); ++k)
            search(node(i).input(k));
    }
    return found.empty() ? nullptr : found[below(found.size())];
}

// Returns an array two levels down, and creates it if it is missing.
IInput* Graph::nestedList(AttrType type) {
    IInput* object = anyNode().createInput(name("obj", 2), AttrType::Object);
    return object->createArray(type == AttrType::Node ? "links" : "reals", type);
}

void Graph::addNode() {
    const char* types[] = {"thing", "light", "path", "group"};
    if (size() >= 14) return;
    INode* node = m_scene->createNode(types[below(4)], name("n", 30));
    m_scene->dirty[node] = false;
    node->createInput("x0", AttrType::Real);
    node->createInput("x1", AttrType::Node)->setNode(&anyNode());
    node->createInput("x2", AttrType::Real);
    node->createOutput("o0", AttrType::Real);
}

void Graph::addAttribute() {
    const AttrType kinds[] = {AttrType::Real, AttrType::Node, AttrType::String, AttrType::Mat3};
    Node& node = anyNode();
    const u64 count = node.inputCount();
    switch (below(5)) {
    case 0:
        node.createOutput(name("o", 3), AttrType::Real);
        break;
    case 1:
        node.createInput("dir", AttrType::String)->setString(name("d", 3));
        break;
    case 2: {
        AttrData silent(AttrType::Node);
        silent.silent = true;
        node.createInput(name("s", 2), silent);
        // The scene is not notified of this change.
        if (node.inputCount() != count) dirty(node) = true;
        break;
    }
    default:
        node.createInput(name("x", 6), kinds[below(4)]);
    }
}

void Graph::removeAttribute() {
    Node& node = anyNode();
    if (below(4) == 0) {
        if (node.outputCount() != 0) node.removeOutput(below(node.outputCount()));
    } else if (node.inputCount() != 0) {
        const u64 index = below(node.inputCount());
        if (node.input(index)->isSilent()) dirty(node) = true;
        node.removeInput(index);
    }
}

void Graph::setValue() {
    if (IInput* input = anyInput(AttrType::Real)) input->setReal(static_cast<double>(below(3)));
    if (IInput* input = anyInput(AttrType::String)) input->setString(name("t", 3));
}

void Graph::setLink() {
    IInput* input = anyInput(AttrType::Node);
    if (input) input->setNode(below(4) == 0 ? nullptr : &anyNode());
}

void Graph::growList() {
    const bool isOfLinks = below(3) != 0;
    IInput* list = nestedList(isOfLinks ? AttrType::Node : AttrType::Real);
    if (list->inputCount() >= 4) return;
    IInput* element = list->insertElement(below(list->inputCount() + 1));
    if (isOfLinks) element->setNode(&anyNode());
}

void Graph::shrinkList() {
    IInput* list = anyInput(AttrType::Array);
    if (list && list->inputCount() != 0) list->removeInput(below(list->inputCount()));
}

void Graph::moveInList() {
    IInput* list = anyInput(AttrType::Array);
    if (!list || list->inputCount() == 0) return;
    list->moveElement(below(list->inputCount()), below(list->inputCount()));
}

// Connects two random attributes; a loop of connections is refused.
void Graph::connect() {
    const tests::LogCapture quiet;
    IInput* input = anyInput(below(4) == 0 ? AttrType::String : AttrType::Real);
    Node& source = anyNode();
    if (input && source.outputCount() != 0)
        input->connect(source.output(below(source.outputCount())));
}

void Graph::disconnect() {
    for (int i = 0; i < 4; ++i) {
        IInput* input = anyInput(AttrType::Real);
        if (input && input->disconnect()) return;
    }
}

void Graph::removeNode() {
    if (size() < 5) return;
    Node& node = anyNode();
    m_scene->removeNode(&node);
    m_scene->dirty.erase(&node);
}

// The node keeps its links; all links and connections to it are cleared.
void Graph::takeOutAndBack() {
    const RefersTo<Node> node(&anyNode());
    m_scene->removeNode(node.get());
    node->setDirty(false);
    dirty(*node) = false;
    m_scene->addNode(node.get());
}

void Graph::renameNode() {
    Node& node = anyNode();
    const String before = node.name();
    m_scene->renameNode(&node, name("n", 30));
    if (!(node.name() == before)) dirty(node) = true;
}

void Graph::setBases() {
    const StringVector bases[] = {{}, {"path"}, {"base", "path"}, {"base"}};
    anyNode().setBases(bases[below(4)], false, false);
}

void Graph::markDirty() {
    Node& node = anyNode();
    node.setDirty(true);
    dirty(node) = true;
}

void Graph::edit() {
    using Edit = void (Graph::*)();
    const Edit edits[] = {
        &Graph::addNode,      &Graph::addNode,     &Graph::removeNode, &Graph::takeOutAndBack,
        &Graph::renameNode,   &Graph::setBases,    &Graph::markDirty,  &Graph::setValue,
        &Graph::setValue,     &Graph::setLink,     &Graph::setLink,    &Graph::growList,
        &Graph::growList,     &Graph::shrinkList,  &Graph::moveInList, &Graph::connect,
        &Graph::connect,      &Graph::connect,     &Graph::disconnect, &Graph::removeAttribute,
        &Graph::addAttribute, &Graph::addAttribute};
    (this->*edits[below(std::size(edits))])();
}

// ---- The comparison ------------------------------------------------------------------------

std::string names(const Nodes& nodes) {
    std::string text;
    for (const INode* node : nodes)
        text += std::string(node->name().buf()) + " ";
    return text;
}

Nodes listed(NodeIterator* iterator) {
    const auto nodes = RefersTo<NodeIterator>::adopt(iterator);
    Nodes list;
    for (INode* node = nodes->first(); node; node = nodes->next())
        list.push_back(node);
    return list;
}

void expectDependencies(Node& node) {
    for (const bool downstream : {false, true}) {
        for (const bool reverse : {false, true})
            EXPECT_EQ(names(listed(node.dependencies(downstream, reverse))),
                      names(dependenciesOf(&node, downstream, reverse)))
                << node.name().buf() << (downstream ? " downstream" : " upstream");
    }
}

void expectHash(Node& node) {
    static const StringVector skips[] = {
        {}, {"__node_name__"}, {"light", "base"}, {"__node_name__", "path"}};
    for (const StringVector& skip : skips)
        EXPECT_EQ(node.hash(skip), hashOf(&node, skip))
            << node.name().buf() << " without " << skip.join(", ").buf();
}

// A deep query stores its result in the node, so this queries only some nodes.
void expectFlags(Graph& graph) {
    for (u64 i = 0; i < graph.size(); ++i) {
        Node& node = graph.node(i);
        EXPECT_EQ(probe(node).dirty(), graph.dirty(node)) << "flag of " << node.name().buf();
        EXPECT_EQ(node.dirty(false), graph.dirty(node)) << node.name().buf();
        if (graph.below(4) != 0) continue;
        graph.dirty(node) = graph.deepDirty(node);
        EXPECT_EQ(node.dirty(true), graph.dirty(node)) << node.name().buf() << ", deep";
        EXPECT_EQ(probe(node).dirty(), graph.dirty(node)) << node.name().buf() << ", after that";
    }
}

void expectCachedFlags(Graph& graph) {
    for (u64 i = 0; i < graph.size(); ++i) {
        Node& node = graph.node(i);
        EXPECT_EQ(node.dirty(false), graph.deepDirty(node)) << node.name().buf();
        EXPECT_EQ(node.dirty(true), graph.deepDirty(node)) << node.name().buf() << ", deep";
    }
}

class NodeStateModel : public testing::TestWithParam<u64> {
protected:
    static constexpr int kSteps = 1'500;

    // Calls `step` until it fails, and prints the place of the failure.
    void run(const std::function<void()>& step) {
        for (int i = 0; i < kSteps && !HasFailure(); ++i) {
            SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(i));
            step();
        }
    }

    Graph m_graph{GetParam()};
};

TEST_P(NodeStateModel, DependenciesAndHashes_AreThoseOfTheModel) {
    run([this] {
        m_graph.edit();
        for (u64 i = 0; i < m_graph.size(); ++i) {
            expectDependencies(m_graph.node(i));
            expectHash(m_graph.node(i));
        }
    });
}

TEST_P(NodeStateModel, DirtyFlags_AreThoseOfTheModel) {
    run([this] {
        m_graph.edit();
        if (m_graph.below(16) == 0) m_graph.cleanAll();
        m_graph.clean(m_graph.anyNode());
        expectFlags(m_graph);
    });
}

TEST_P(NodeStateModel, CachedFlags_AreTheModelsDeepAnswers) {
    m_graph.scene().setDirtyStateCached(true);
    run([this] {
        m_graph.edit();
        expectCachedFlags(m_graph);
        if (m_graph.below(3) != 0) return;
        m_graph.cleanAll();
        expectCachedFlags(m_graph);
    });
}

// Dependents of the cleaned node may stay dirty, as they do after any deep query.
TEST_P(NodeStateModel, CachedFlagsWhereSingleNodesAreCleaned_MissNothing) {
    m_graph.scene().setDirtyStateCached(true);
    run([this] {
        m_graph.edit();
        m_graph.clean(m_graph.anyNode());
        if (m_graph.below(8) == 0) m_graph.cleanAll();
        m_graph.markDirty();
        for (u64 i = 0; i < m_graph.size(); ++i) {
            Node& node = m_graph.node(i);
            EXPECT_TRUE(node.dirty(false) || !m_graph.deepDirty(node)) << node.name().buf();
        }
    });
}

TEST_P(NodeStateModel, FlagsWhereCachingComesAndGoes_AreTheModels) {
    bool cached = false;
    run([&] {
        if (m_graph.below(16) == 0) {
            // From now on the flag is set in the nodes that counted as dirty before.
            for (u64 i = 0; cached && i < m_graph.size(); ++i)
                m_graph.dirty(m_graph.node(i)) = m_graph.deepDirty(m_graph.node(i));
            cached = !cached;
            m_graph.scene().setDirtyStateCached(cached);
        }
        m_graph.edit();
        if (m_graph.below(4) == 0) m_graph.cleanAll();
        if (!cached) m_graph.clean(m_graph.anyNode());
        cached ? expectCachedFlags(m_graph) : expectFlags(m_graph);
    });
}

INSTANTIATE_TEST_SUITE_P(Seeds, NodeStateModel, testing::Values(1u, 2u, 3u, 5u, 8u),
                         [](const auto& seed) { return std::to_string(seed.param); });

} // namespace
} // namespace qv::kelvo_sdk::impl
