#include "kelvo/sdk/impl/modify/modifiers.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Limits the rounds that follow from changes made by observers and modifiers.
constexpr u32 maxRounds = 32;

// Collects the nodes downstream of some nodes, each before its dependents unless there is a loop,
// and which of these nodes to modify again. Works without recursion.
class Downstream {
public:
    explicit Downstream(const Scene& scene) : m_scene(scene) {}

    void add(Node& node) {
        m_isToDo.insert(&node);
        if (!m_met.insert(&node).second) return;
        m_open.push_back({&node, readersOf(node)});
        while (!m_open.empty())
            step();
    }

    /// Returns the nodes to be modified, in order.
    [[nodiscard]] std::vector<Node*> take() {
        std::erase_if(m_closed, [this](Node* node) { return !m_isToDo.contains(node); });
        std::ranges::reverse(m_closed);
        return std::move(m_closed);
    }

private:
    struct Open {
        Node* node;
        std::vector<Node*> readers;
    };

    void step() {
        Open& top = m_open.back();
        if (top.readers.empty()) {
            m_closed.push_back(top.node);
            m_open.pop_back();
            return;
        }
        Node* next = top.readers.back();
        top.readers.pop_back();
        if (m_met.insert(next).second) m_open.push_back({next, readersOf(*next)});
    }

    // A link alone does not make its node dependent, except a link to a modifier of the node.
    std::vector<Node*> readersOf(const Node& node) {
        std::vector<Node*> readers;
        const auto add = [&](const Input& input, bool isToDo) {
            auto* owner = implOf(input.node());
            if (!owner || owner->scene() != &m_scene) return;
            if (isToDo) m_isToDo.insert(owner);
            readers.push_back(owner);
        };
        if (auto* scene = implOf(node.scene()))
            scene->links().forEach(&node,
                                   [&](const Input& input) { add(input, isModifierList(input)); });
        for (const IOutput* output : node.outputs())
            implOf(output)->forEachTarget([&](const Input& input) { add(input, true); });
        return readers;
    }

    const Scene& m_scene;
    std::unordered_set<const Node*> m_met;
    std::unordered_set<const Node*> m_isToDo;
    std::vector<Open> m_open;
    std::vector<Node*> m_closed;
};

} // namespace

// Marks a node as being written to by its modifiers.
class Modifiers::Writing {
public:
    Writing(Modifiers& modifiers, Node& node) : m_modifiers(modifiers), m_node(node) {
        m_modifiers.m_writing = &node;
        m_node.beginModification();
    }
    ~Writing() {
        m_node.endModification();
        m_modifiers.m_writing = nullptr;
        m_modifiers.m_noted.clear();
        m_modifiers.m_written.clear();
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

private:
    Modifiers& m_modifiers;
    Node& m_node;
};

// Marks the change that is being reported, so that the modifiers do not run again for it.
class Modifiers::Telling {
public:
    Telling(Modifiers& modifiers, Node& node, const Input& input)
        : m_modifiers(modifiers), m_node(node) {
        m_modifiers.m_telling = &input;
        m_node.beginModification();
    }
    ~Telling() {
        m_node.endModification();
        m_modifiers.m_telling = nullptr;
    }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

private:
    Modifiers& m_modifiers;
    Node& m_node;
};

void Modifiers::watch(Node& node) {
    try {
        if (modifierListOf(node)) m_nodes.insert(&node);
        if (has(node)) {
            m_scene.followers().join(*this);
            enqueue(node);
        }
    } catch (const std::bad_alloc&) {
        return fallBehind();
    }
    run();
}

void Modifiers::inputNotified(Input& input) {
    auto* node = implOf(input.node());
    if (isIdle() || !node || !m_scene.contains(*node)) return;
    if (m_telling == &input) {
        m_telling = nullptr;
        return;
    }
    try {
        enqueue(*node);
    } catch (const std::bad_alloc&) {
        return fallBehind();
    }
    run();
}

void Modifiers::enqueue(Node& node) {
    if (m_queued.contains(&node)) return;
    m_queue.emplace_back(&node);
    try {
        m_queued.insert(&node);
    } catch (...) {
        m_queue.pop_back();
        throw;
    }
}

void Modifiers::fallBehind() noexcept {
    m_isBehind = true;
    m_scene.followers().join(*this);
    logNoMemory("Modifiers wait for the next change: there is no memory for them.");
}

// Queues all nodes with modifiers, including nodes that were missed when memory ran out.
void Modifiers::catchUp() {
    if (!m_isBehind) return;
    m_scene.forEachNode([this](Node* node) {
        if (modifierListOf(*node)) m_nodes.insert(node);
    });
    for (Node* node : m_nodes)
        enqueue(*node);
    m_isBehind = false;
}

// An undo that failed was taken back without notifications, and left the user's values where
// modifiers had written.
void Modifiers::release(bool isToRun) {
    --m_holds;
    if (isToRun) return run();
    bool isMissing = false;
    m_scene.forEachNode([&](Node* node) { isMissing = isMissing || modifierListOf(*node); });
    if (isMissing) fallBehind();
}

void Modifiers::run() {
    if (m_isRunning || m_holds != 0 || (m_queue.empty() && !m_isBehind)) return;
    const RefersTo<Scene> held(&m_scene);
    m_isRunning = true;
    const std::unique_ptr<bool, void (*)(bool*)> end(&m_isRunning, [](bool* is) { *is = false; });
    bool hadMemory = true;
    for (u32 round = 0; hadMemory && (!m_queue.empty() || m_isBehind); ++round) {
        std::vector<Node*> nodes;
        try {
            nodes = takeQueue(round == maxRounds);
        } catch (const std::bad_alloc&) {
            return fallBehind();
        }
        if (round == maxRounds) return;
        for (Node* node : nodes)
            if (has(*node)) apply(*node);
        hadMemory = !m_isBehind;
    }
}

// Empties the queue and returns its nodes, and those downstream, in order.
std::vector<Node*> Modifiers::takeQueue(bool isLastRound) {
    catchUp();
    const auto nodes = std::exchange(m_queue, {});
    m_queued.clear();
    if (isLastRound) {
        logError("The modifiers of node '%s' come to no end: each time something changes that "
                 "they depend on.",
                 nodes.front()->name().buf());
        return {};
    }
    Downstream downstream(m_scene);
    for (const RefersTo<Node>& node : nodes)
        downstream.add(*node);
    return downstream.take();
}

void Modifiers::apply(Node& node) {
    const RefersTo<Node> held(&node);
    std::vector<Written> written;
    try {
        written = write(node);
    } catch (const std::bad_alloc&) {
        return fallBehind();
    }
    if (!modifierListOf(node)) m_nodes.erase(&node);
    tell(node, written);
}

// Restores the node's values when memory runs out.
std::vector<Modifiers::Written> Modifiers::write(Node& node) {
    const Writing writing(*this, node);
    try {
        giveBack(node);
        node.stash();
        callModifiers(node);
    } catch (const std::bad_alloc&) {
        for (Written& each : m_written)
            each.input->showAgain(each.before, std::move(each.stash), {});
        throw;
    }
    return std::move(m_written);
}

// Copies the list first, as modifiers may change it; such a change counts the next time. Stops when
// the node has left the scene.
void Modifiers::callModifiers(Node& node) {
    const Input* list = modifierListOf(node);
    if (!list) return;
    std::vector<RefersTo<Node>> modifiers;
    for (const IInput* element : list->members()) {
        auto* linked = implOf(linkedNode(implOf(*element)));
        if (linked && linked->hasType(knownNames().modifier)) modifiers.emplace_back(linked);
    }
    for (const RefersTo<Node>& modifier : modifiers)
        if (has(node)) modifier->nodeModify(&node);
}

void Modifiers::giveBack(Node& node) {
    visitInputs(node, [this](Input& input) {
        if (!input.stashed()) return;
        noteWrite(input);
        m_written[m_noted.find(&input)->second].stash = input.takeStashedBack({});
    });
}

void Modifiers::noteWrite(Input& input) {
    m_scene.resultsChanged(*m_writing, {});
    if (m_noted.contains(&input)) return;
    m_scene.expect(static_cast<const IInput*>(&input));
    m_written.push_back(shownBy(input));
    try {
        m_noted.emplace(&input, m_written.size() - 1);
    } catch (...) {
        m_written.pop_back();
        throw;
    }
}

// Skips inputs that observers have moved or set back meanwhile; their own writes are reported
// apart.
void Modifiers::tell(Node& node, const std::vector<Written>& written) {
    for (const Written& next : written) {
        Input& input = *next.input;
        if (input.node() != &node || input.value() == next.before) continue;
        AttrData previous = input.description();
        previous.details = {};
        previous.value = next.before;
        const Telling telling(*this, node, input);
        node.onInputChanged(&input, &previous);
    }
}

// Allocates everything before it changes anything.
void Modifiers::nodeLeft(Node& node) {
    if (!has(node)) return unqueue(node);
    if (areWriting(node)) {
        giveBack(node);
        unqueue(node);
        m_nodes.erase(&node);
        return;
    }
    std::vector<Written> written;
    visitInputsInPlace(node, [&](Input& input) {
        if (input.stashed()) written.push_back(shownBy(input));
    });
    std::vector<RefersTo<Input>> inputs;
    for (const Written& each : written)
        inputs.push_back(each.input);
    if (!written.empty()) tellAfter(node, std::move(written));
    m_scene.resultsChanged(node, {});
    for (const RefersTo<Input>& input : inputs)
        input->takeStashedBack({});
    unqueue(node);
    m_nodes.erase(&node);
}

// Nodes that depend on the node are modified again.
void Modifiers::listLeft(Node& node) {
    if (!has(node)) return;
    nodeLeft(node);
    try {
        enqueue(node);
    } catch (const std::bad_alloc&) {
        fallBehind();
    }
}

void Modifiers::unqueue(Node& node) noexcept {
    if (m_queued.erase(&node) != 0) std::erase(m_queue, RefersTo<Node>(&node));
}

void Modifiers::tellAfter(Node& node, std::vector<Written> written) {
    const auto shared = std::make_shared<const std::vector<Written>>(std::move(written));
    afterNotifications([this, scene = RefersTo<Scene>(&m_scene), held = RefersTo<Node>(&node),
                        shared] { tell(*held, *shared); });
}

Modifiers::Written Modifiers::shownBy(Input& input) {
    return {RefersTo<Input>(&input), input.value(), RefersTo<INode>(linkedNode(input)), {}};
}

void Modifiers::sceneEnds() noexcept {
    for (Node* node : m_nodes)
        visitInputsInPlace(*node, [](Input& input) {
            if (input.stashed()) input.takeStashedBack({});
        });
    m_nodes.clear();
}

} // namespace qv::kelvo_sdk::impl
