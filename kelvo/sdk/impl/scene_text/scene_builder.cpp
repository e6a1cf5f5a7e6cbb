#include "kelvo/sdk/impl/scene_text/scene_builder.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/impl/modify/modifiers.h"
#include "kelvo/sdk/impl/scene_text/tree_values.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Lets observers treat the whole text as one change.
class EditGroup {
public:
    explicit EditGroup(Scene& scene) : m_scene(scene) { m_scene.beginEditGroup(); }
    ~EditGroup() { m_scene.endEditGroup(); }
    EditGroup(const EditGroup&) = delete;
    EditGroup& operator=(const EditGroup&) = delete;

private:
    Scene& m_scene;
};

Value& slotOf(AttrDetails& details, TreeSlot slot, u32 choice) {
    switch (slot) {
    case TreeSlot::Minimum:
        return details.minimum;
    case TreeSlot::Maximum:
        return details.maximum;
    case TreeSlot::Choice:
        return details.choices[choice];
    default:
        return details.defaultValue;
    }
}

} // namespace

SceneBuilder::SceneBuilder(SceneTree& tree, Scene& scene, u32 threads) : SceneBuilder(tree) {
    m_scene = &scene;
    m_workers = Workers(threads);
}

SceneBuilder::SceneBuilder(SceneTree& tree)
    : m_tree(tree), m_inputs(tree.inputs.size()), m_outputs(tree.outputs.size()) {}

// Detaches nodes that were not added, so that destroying them does not involve the scene.
SceneBuilder::~SceneBuilder() {
    if (!m_scene || m_isDone) return;
    for (const RefersTo<Node>& node : m_nodes)
        if (node && node->scene() == m_scene && !m_scene->contains(*node))
            node->setScene(nullptr, {});
}

void SceneBuilder::build() {
    const RefersTo<Scene> held(m_scene);
    const EditStep step(*m_scene);
    const EditGroup group(*m_scene);
    holdKnown();
    makeNodes();
    initialiseNodes();
    ModifierHold modifiers(*m_scene);
    const u64 start = m_scene->history().openChanges();
    DeferredNotifications deferred;
    addUnnotified();
    try {
        deferred.release();
        modifiers.release();
        m_isDone = true;
    } catch (...) {
        takeBack(start);
        throw;
    }
}

// Adds all nodes or, when memory runs out, none. Notifications are held back.
void SceneBuilder::addUnnotified() {
    const auto start = DeferredNotifications::mark();
    try {
        const EditStep step(*m_scene);
        addNodes();
    } catch (...) {
        DeferredNotifications::dropSince(start);
        for (const RefersTo<Node>& node : m_nodes)
            if (m_scene->contains(*node)) m_scene->dropUnnotified(*node, {});
        throw;
    }
}

// Nodes of one text do not know each other yet, so threads can make them at the same time.
void SceneBuilder::makeNodes() {
    constexpr u64 nodesInPiece = 256;
    const u64 count = m_tree.nodes.size();
    m_nodes.resize(count);
    m_workers.run((count + nodesInPiece - 1) / nodesInPiece, [&](u64 piece) {
        const u64 end = std::min((piece + 1) * nodesInPiece, count);
        for (u64 i = piece * nodesInPiece; i < end; ++i)
            m_nodes[i] = makeNode(m_tree.nodes[i]);
    });
}

RefersTo<Node> SceneBuilder::makeEmptyNode(const TreeNode& from) const {
    const NamePool& names = m_tree.names;
    const String& name = names.text(from.name);
    return RefersTo<Node>::adopt(from.definition ? new Node(*from.definition, nullptr, name)
                                                 : new Node(nullptr, names.text(from.type), name));
}

void SceneBuilder::addCopy(const IInput& input, Node& node) {
    node.append(RefersTo<Input>::adopt(implOf(implOf(input).clone(&node, nullptr))), {});
}

void SceneBuilder::addCopy(const IOutput& output, Node& node) {
    node.append(RefersTo<Output>::adopt(implOf(implOf(output).clone(&node))), {});
}

RefersTo<Node> SceneBuilder::makeNode(const TreeNode& from) {
    auto node = makeEmptyNode(from);
    describe(from, *node);
    makeAttributes(from, *node);
    return node;
}

// Bases in the text override those of the definition.
void SceneBuilder::describe(const TreeNode& from, Node& node) const {
    const Node* definition = from.definition;
    const bool inheritsInternal = definition && !from.isOwn && node.isInternal();
    const bool isInternal = from.isInternal || inheritsInternal;
    if (from.baseCount == 0 && !from.isOwn) return node.setMarks(from.isAbstract, isInternal);
    StringVector bases;
    for (u32 i = 0; i < from.baseCount; ++i)
        bases.push_back(m_tree.names.text(m_tree.bases[from.firstBase + i]));
    node.setBases(std::move(bases), from.isAbstract, isInternal);
}

// Calls the libraries on the calling thread, in the order of the text. Nodes with bases of their
// own may have other callbacks than their definitions, which the libraries may drop when they
// initialise nodes.
void SceneBuilder::initialiseNodes() {
    for (u64 i = 0; i < m_nodes.size(); ++i) {
        const TreeNode& from = m_tree.nodes[i];
        const bool hasBases = from.baseCount != 0 || from.isOwn;
        if (hasBases && from.definition) m_nodes[i]->initLibInfo(from.definition->library());
    }
    for (u64 i = 0; i < m_nodes.size(); ++i)
        if (m_nodes[i]->hasNodeInit()) initialise(i);
}

// Returns the number behind those of the inputs of a node, which has some.
u64 SceneBuilder::endOfInputs(u64 node) const noexcept {
    const auto first = m_tree.nodes.begin() + static_cast<std::ptrdiff_t>(node) + 1;
    const auto next = std::find_if(first, m_tree.nodes.end(), [](const TreeNode& other) {
        return other.firstInput != noTreeIndex;
    });
    return next != m_tree.nodes.end() ? next->firstInput : m_inputs.size();
}

// Call when the node has all but its links and connections; it knows the scene but is not in it.
void SceneBuilder::initialise(u64 index) {
    const TreeNode& from = m_tree.nodes[index];
    Node& node = *m_nodes[index];
    if (from.firstInput != noTreeIndex)
        for (u64 i = from.firstInput, end = endOfInputs(index); i < end; ++i)
            m_heldInputs.emplace_back(m_inputs[i]);
    for (u32 i = 0; i < from.outputCount; ++i)
        m_heldOutputs.emplace_back(m_outputs[from.firstOutput + i]);
    node.setScene(m_scene, {});
    m_scene->initialise(node);
}

// Keeps link and connection targets outside the text alive: libraries may drop the last references
// to them when they initialise nodes.
void SceneBuilder::holdKnown() {
    for (const TreeLink& link : m_tree.links)
        if (link.known) m_heldNodes.emplace_back(link.known);
    for (const TreeConnection& connection : m_tree.connections)
        if (connection.known) m_heldOutputs.emplace_back(connection.known);
}

void SceneBuilder::makeAttributes(const TreeNode& from, Node& node) {
    node.reserve(from.inputCount, from.outputCount, {});
    makeInputs(from, node);
    makeOutputs(from, node);
    node.raiseDirty({});
}

void SceneBuilder::makeOutputs(const TreeNode& from, Node& node) {
    for (u32 i = from.firstOutput; i < from.firstOutput + from.outputCount; ++i) {
        const TreeOutput& output = m_tree.outputs[i];
        const String& name = m_tree.names.text(output.name);
        const bool isBuffer = output.type == AttrType::Buffer;
        auto made = RefersTo<Output>::adopt(isBuffer ? new Output(&node, name, output.dataType)
                                                     : new Output(&node, name, output.type));
        made->setOmitted(output.isOmitted);
        m_outputs[i] = made.get();
        node.append(std::move(made), {});
    }
}

void SceneBuilder::addNodes() {
    for (const RefersTo<Node>& node : m_nodes)
        m_scene->addNode(node.get());
    for (const TreeLink& from : m_tree.links)
        link(from);
    for (const TreeConnection& from : m_tree.connections)
        connect(from);
    addComments();
}

void SceneBuilder::link(const TreeLink& from) {
    Input& input = *m_inputs[from.input];
    const TreeInput& treeInput = m_tree.inputs[from.input];
    INode* target = from.target != noTreeIndex ? m_nodes[from.target].get() : from.known;
    if (target && !m_scene->contains(*target)) return;
    if (from.slot == TreeSlot::Value) return setLink(input, target);
    if (from.slot == TreeSlot::Stash) return input.setStashed(Value(target));
    AttrDetails& details = *m_tree.extras[treeInput.extras].details;
    slotOf(details, from.slot, from.choice) = Value(target);
    m_scene->noteDescribedNode();
    const bool startsHere = from.slot == TreeSlot::Default && treeInput.type == AttrType::Node &&
                            treeInput.value.isNull();
    if (startsHere) setLink(input, target);
}

// Links read-only inputs and those with few choices too, because they were written so. Skips an
// input that a library removed when its node was initialised.
void SceneBuilder::setLink(Input& input, INode* target) {
    if (input.node()) input.linkUnchecked(target, {});
}

// Loops and kinds need no check here; they were checked for the whole text at once.
void SceneBuilder::connect(const TreeConnection& from) {
    Input& input = *m_inputs[from.input];
    IOutput* output = from.target != noTreeIndex ? m_outputs[from.output] : from.known;
    if (input.node() && output->node()) input.connectUnchecked(implOf(*output), {});
}

// Call last: comments that were already merged would hinder taking nodes back.
void SceneBuilder::addComments() {
    SceneComments comments;
    using Unchecked = Comments::Unchecked;
    const auto add = [&](const auto* thing, const auto& from, Unchecked unchecked) {
        const TreeExtras* extras = m_tree.extrasOf(from.extras);
        if (!extras && !from.isOwn && unchecked == Unchecked::Open) return;
        comments.set(thing, textComments(m_tree, from, unchecked));
    };
    for (u64 i = 0; i < m_tree.nodes.size(); ++i)
        add(static_cast<const INode*>(m_nodes[i].get()), m_tree.nodes[i], Unchecked::Open);
    for (u64 i = 0; i < m_tree.inputs.size(); ++i)
        add(static_cast<const IInput*>(m_inputs[i]), m_tree.inputs[i], m_tree.inputs[i].unchecked);
    for (u64 i = 0; i < m_tree.outputs.size(); ++i)
        if (const TreeExtras* extras = m_tree.extrasOf(m_tree.outputs[i].extras))
            comments.set(m_outputs[i], extras->comments);
    EditStep step(*m_scene);
    if (!m_tree.file.isEmpty()) step.prepare<FileCommentsChange>(m_scene->comments());
    comments.setFile(fileComments());
    m_scene->comments().reserveFor(comments);
    m_scene->comments().merge(std::move(comments));
    step.commit();
}

// Returns the comments of the scene with those of the text added.
Comments SceneBuilder::fileComments() {
    const Comments& added = m_tree.file;
    Comments file = m_scene->comments().file();
    file.leading += added.leading.view();
    file.inner += added.inner.view();
    if (file.opening.isEmpty()) file.opening = added.opening;
    for (UnreadLines unread : added.unread) {
        const u32 node = m_tree.findNode(m_tree.names.add(unread.before.view()));
        if (node != noTreeIndex) {
            unread.node = m_nodes[node].get();
            unread.before = m_nodes[node]->name();
        }
        file.unread.push_back(std::move(unread));
    }
    return file;
}

// Removes the added nodes. Drops exceptions of observers, since another one is on its way.
void SceneBuilder::takeBack(u64 start) noexcept {
    History& history = m_scene->history();
    if (history.isRecording()) return history.takeBack(start);
    for (const RefersTo<Node>& node : m_nodes) {
        try {
            m_scene->removeNode(node.get());
        } catch (...) {
            continue;
        }
    }
}

} // namespace qv::kelvo_sdk::impl
