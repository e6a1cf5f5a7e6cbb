#include "kelvo/sdk/impl/graph/node_changes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

u64 bytesOf(const Output& output) {
    return sizeof(Output) + output.ownName().size() + output.value().payloadBytes();
}

u64 bytesOf(const Node& node) {
    u64 bytes = sizeof(Node);
    for (const IInput* input : node.inputs())
        bytes += implOf(input)->ownBytes();
    for (const IOutput* output : node.outputs())
        bytes += bytesOf(implOf(*output));
    return bytes;
}

// Calls `visit(INode&)` for each node outside of scenes that an input of `node` links to or reads.
template<typename Visit>
void visitStraysOf(const Input& input, const Node& node, const Visit& visit) {
    const auto note = [&](INode* reached) {
        if (reached && reached != &node && !reached->scene()) visit(*reached);
    };
    note(linkedNode(input));
    if (const Output* source = input.sourceOutput()) note(source->node());
}

template<typename Visit>
void visitStrays(const Node& node, const Visit& visit) {
    visitInputsInPlace(node, [&](const Input& input) { visitStraysOf(input, node, visit); });
}

// Reserves memory for the strays of a node beside those that are kept already.
void makeRoomForStrays(const Node& node, std::vector<RefersTo<INode>>& strays) {
    u64 count = 0;
    visitStrays(node, [&](INode&) { ++count; });
    strays.reserve(strays.size() + 2 * count);
}

// Keeps the strays of a node in place of the earlier ones.
void holdStrays(const Node& node, std::vector<RefersTo<INode>>& strays) {
    const auto before = static_cast<std::ptrdiff_t>(strays.size());
    visitStrays(node, [&](INode& stray) { strays.emplace_back(&stray); });
    strays.erase(strays.begin(), strays.begin() + before);
}

} // namespace

// ---- Outputs -------------------------------------------------------------------------------

OutputListChange::OutputListChange(Output& output, Node& node, u64 index, bool isIn)
    : m_output(&output), m_node(&node), m_index(index), m_isIn(isIn) {}

void OutputListChange::takeComments(SceneComments& from) {
    from.take(m_output.get(), m_comments);
}

void OutputListChange::prepareSwap(Scene& /*scene*/) {
    if (m_isIn) m_output->disconnectTargets();
}

// An output that observers of another undo removed stays out. Swapping back skips it too.
void OutputListChange::swap(Scene& scene) {
    m_isIn = !m_isIn;
    if (std::exchange(m_isPassedOver, false)) return;
    m_isPassedOver = !(m_isIn ? putIn(scene) : takeOut(scene));
}

// A removed node may have been changed through a handle: returns false when the change does not fit
// any more. An output whose removal is not complete still has its node.
bool OutputListChange::putIn(Scene& scene) {
    const INode* present = m_output->node();
    if (present && (present != m_node.get() || m_node->outputs().contains(m_output.get())))
        return false;
    m_node->put(m_output, m_index, {});
    m_output->entered(m_node.get(), {});
    scene.comments().putBack(m_comments);
    m_node->onOutputAdded(m_output.get());
    return true;
}

bool OutputListChange::takeOut(Scene& scene) {
    if (m_output->node() != m_node.get()) return false;
    keepComments([&] { takeComments(scene.comments()); });
    m_node->takeOutput(indexInList<IOutput>(m_node->outputs(), m_output.get()), {});
    // Takes over the reference of the list.
    auto leaving = RefersTo<Output>::adopt(m_output.get());
    m_node->onOutputRemoved(m_output.get());
    afterNotifications([leaving = std::move(leaving)] { leaving->clearNode({}); });
    return true;
}

u64 OutputListChange::bytes() const {
    return sizeof(*this) + (m_isIn ? 0 : bytesOf(*m_output));
}

String OutputListChange::subject() const {
    return m_node->name() + "." + m_output->ownName();
}

String OutputListChange::text() const {
    return (m_isIn ? "Add " : "Remove ") + subject();
}

OutputValueChange::OutputValueChange(Output& output) : m_output(&output), m_other(output.value()) {}

void OutputValueChange::swap(Scene& /*scene*/) {
    m_output->exchangeValue(m_other, {});
}

bool OutputValueChange::isNothing() const {
    return m_other == m_output->value();
}

u64 OutputValueChange::bytes() const {
    return sizeof(*this) + m_other.payloadBytes();
}

// ---- Nodes ---------------------------------------------------------------------------------

NodeChange::NodeChange(Node& node, u64 index, bool isIn)
    : m_node(&node), m_index(index), m_isIn(isIn) {}

void NodeChange::takeAlong(SceneComments& from) {
    from.take(m_node.get(), m_comments);
    holdStrays(*m_node, m_strays);
}

void NodeChange::expect(Scene& scene) {
    scene.expect(static_cast<const INode*>(m_node.get()));
    makeRoomForStrays(*m_node, m_strays);
    if (m_isIn) scene.comments().makeRoom(m_node.get(), m_comments);
}

void NodeChange::prepareSwap(Scene& scene) {
    if (m_isIn) scene.clearReferences(*m_node, {});
}

// Skips the swap when a removed node was added to another scene, or when an observer of another
// undo removed an added node. Swapping back skips it too.
void NodeChange::swap(Scene& scene) {
    m_isIn = !m_isIn;
    if (std::exchange(m_isPassedOver, false)) return;
    const bool isElsewhere = m_node->scene() && !m_node->hasLeft();
    m_isPassedOver = m_isIn ? isElsewhere : !scene.contains(*m_node);
    if (m_isPassedOver) return;
    if (m_isIn) {
        takeFreeName(scene);
        scene.putBack(*m_node, std::move(m_place), m_index, {});
        scene.comments().putBack(m_comments);
        scene.enter(*m_node, {});
        return;
    }
    keepComments([&] { scene.comments().take(m_node.get(), m_comments); });
    // Memory is reserved, except when a step is rolled back, which is never redone.
    try {
        holdStrays(*m_node, m_strays);
    } catch (const std::bad_alloc&) {
    }
    m_index = scene.indexOf(*m_node);
    m_place = scene.takeOut(*m_node, {});
    if (!m_name.isEmpty()) m_node->setName(std::exchange(m_name, String()), {});
    scene.removed(*m_node, {});
}

// An observer of another undo may have given the name to another node. The node gets its own name
// back when it is removed again.
void NodeChange::takeFreeName(const Scene& scene) {
    const String name = m_node->name();
    String free = scene.freeName(name);
    if (free.equals(name)) return;
    m_node->setName(std::move(free), {});
    m_name = name;
}

u64 NodeChange::bytes() const {
    return sizeof(*this) + (m_isIn ? 0 : bytesOf(*m_node));
}

String NodeChange::text() const {
    return (m_isIn ? "Add node '" : "Remove node '") + subject() + "'";
}

NodeExchange::NodeExchange(Node& node, Node& replacement, SceneComments& comments)
    : m_out(&node), m_in(&replacement), m_comments(comments.copyOf(&node)) {
    makeRoom(node, m_sources, m_strays);
    makeRoom(replacement, m_room, m_otherStrays);
}

void NodeExchange::makeRoom(const Node& node, std::vector<Source>& sources, Strays& strays) {
    u64 sourceCount = 0, strayCount = 0;
    visitInputsInPlace(node, [&](const Input& input) {
        sourceCount += input.sourceOutput() ? 1 : 0;
        visitStraysOf(input, node, [&](INode&) { ++strayCount; });
    });
    sources.reserve(sourceCount);
    strays.reserve(2 * strayCount);
}

void NodeExchange::cutSources() {
    const auto before = static_cast<std::ptrdiff_t>(m_strays.size());
    visitInputsInPlace(*m_out, [this](Input& input) {
        visitStraysOf(input, *m_out, [this](INode& stray) { m_strays.emplace_back(&stray); });
        Output* source = input.sourceOutput();
        if (!source) return;
        m_sources.push_back(
            {RefersTo<Input>(&input), RefersTo<Output>(source), input.sourceRank()});
        input.redirect(linkedNode(input), nullptr, noIndex, {});
    });
    m_strays.erase(m_strays.begin(), m_strays.begin() + before);
}

void NodeExchange::restore(const std::vector<Source>& sources) {
    for (u64 i = sources.size(); i-- > 0;) {
        Input& input = *sources[i].input;
        input.redirect(linkedNode(input), sources[i].output.get(), sources[i].rank, {});
    }
}

void NodeExchange::swap(Scene& scene) {
    const bool isElsewhere = m_out->scene() && !m_out->hasLeft();
    if (isElsewhere || !scene.contains(*m_in)) return;
    std::swap(m_in, m_out);
    auto sources = std::exchange(m_sources, std::exchange(m_room, {}));
    std::swap(m_strays, m_otherStrays);
    cutSources();
    restore(sources);
    sources.clear();
    m_room = std::move(sources);
    scene.exchange(*m_out, *m_in, {});
    keepComments([&] { scene.comments().take(m_out.get(), m_otherComments); });
    std::swap(m_comments, m_otherComments);
    scene.comments().putBack(m_otherComments);
    scene.converted(*m_out, *m_in, {});
}

u64 NodeExchange::bytes() const {
    return sizeof(*this) + bytesOf(*m_out) + m_sources.size() * sizeof(Source);
}

String NodeExchange::text() const {
    return "Convert node '" + subject() + "' from '" + m_out->type() + "' to '" + m_in->type() +
           "'";
}

NodeRename::NodeRename(Node& node, String before) : m_node(&node), m_other(std::move(before)) {}

void NodeRename::swap(Scene& scene) {
    // An observer of another undo may have given the name to another node.
    const INode* named = scene.findNode(m_other);
    if (!scene.contains(*m_node) || (named && named != m_node.get())) return;
    String name = std::exchange(m_other, m_node->name());
    scene.rename(*m_node, std::move(name), {});
}

String NodeRename::text() const {
    return "Rename node '" + m_other + "' to '" + subject() + "'";
}

NodeMove::NodeMove(Node& node, u64 from, u64 to) : m_node(&node), m_from(from), m_to(to) {}

// Observers of another undo may have changed the nodes, so that the positions do not fit.
void NodeMove::swap(Scene& scene) {
    std::swap(m_from, m_to);
    if (std::exchange(m_isPassedOver, false)) return;
    m_isPassedOver = !scene.contains(*m_node) || m_to >= scene.nodeCount();
    if (m_isPassedOver) return;
    m_from = scene.indexOf(*m_node);
    scene.move(*m_node, m_from, m_to, {});
}

// ---- Comments ------------------------------------------------------------------------------

void FileCommentsChange::swap(Scene& scene) {
    Comments now = scene.comments().file();
    scene.comments().setFile(std::move(m_other));
    m_other = std::move(now);
}

u64 FileCommentsChange::bytes() const {
    u64 bytes =
        sizeof(*this) + m_other.leading.size() + m_other.opening.size() + m_other.inner.size();
    for (const UnreadLines& lines : m_other.unread)
        bytes += sizeof lines + lines.leading.size() + lines.lines.size();
    return bytes;
}

} // namespace qv::kelvo_sdk::impl
