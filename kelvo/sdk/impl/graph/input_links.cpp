// ---- Links -----------------------------------------------------------------------------
// Both ends know a connection, and the scene's table knows each link to a node.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/connection_loop.h"
#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/value/conversion.h"

#include "kelvo/base/log.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

IOutput* Input::source() const {
    return sourceOutput();
}

bool takes(const Input& input, const Output& output) noexcept {
    if (output.type() != AttrType::Buffer || input.type() != AttrType::Buffer)
        return kindsConvert(output.type(), input.type());
    return input.dataType() == DataType::Null || input.dataType() == output.dataType();
}

namespace {

// Returns the scene that contains a node; null for a free node.
Scene* homeOf(const INode& node) noexcept {
    auto* scene = implOf(implOf(node).liveScene());
    return scene && scene->contains(node) ? scene : nullptr;
}

} // namespace

const char* barBetween(const INode* from, const INode* to) noexcept {
    if (!from || !to || from == to) return nullptr;
    const auto &node = implOf(*from), &target = implOf(*to);
    const bool isOut = node.hasLeft(), isToOut = target.hasLeft();
    if (isOut == isToOut && node.liveScene() == target.liveScene()) return nullptr;
    const Scene *home = homeOf(*from), *toHome = homeOf(*to);
    if (home == toHome) return nullptr;
    if (isOut) return "its node was removed from its scene";
    if (isToOut) return "that node was removed from its scene";
    return home && toHome ? "the two nodes belong to different scenes" : nullptr;
}

namespace {

// Returns the reason why an input of a node may not read an output; null when it may.
const char* barTo(const Output& output, const INode* from) noexcept {
    if (from && output.hasLeft()) return "that output was removed from its node";
    return barBetween(from, output.node());
}

} // namespace

String connectRefusal(const Input& input, const Output& output) {
    const String to = output.path();
    if (!takes(input, output))
        return String::format(
            "Cannot connect input '%s' (%s) to output '%s' (%s): the kinds do not convert.",
            input.path().buf(), input.typeName().buf(), to.buf(), output.typeName().buf());
    if (const char* bar = barTo(output, input.node()))
        return String::format("Cannot connect input '%s' to output '%s': %s.", input.path().buf(),
                              to.buf(), bar);
    if (!closesLoop(output, input)) return {};
    return String::format("Cannot connect input '%s' to output '%s': this closes the loop %s.",
                          input.path().buf(), to.buf(), loopText(output, input).buf());
}

bool Input::connect(IOutput* output) {
    auto* after = implOf(output);
    Output* before = sourceOutput();
    if (!after) {
        disconnect();
        return true;
    }
    if (after == before) return true;
    if (!takes(*this, *after) || barTo(*after, m_node) || closesLoop(*after, *this)) {
        logWarning("%s", connectRefusal(*this, *after).buf());
        return false;
    }
    replaceSource(before, after);
    return true;
}

void Input::connectUnchecked(Output& output, Only<Input, SceneBuilder> /*key*/) {
    replaceSource(sourceOutput(), &output);
}

void Input::linkUnchecked(INode* node, Only<SceneBuilder> /*key*/) {
    EditStep step(m_node);
    step.prepare<ValueChange>(*this);
    expectNotification(m_node, static_cast<const IInput*>(this));
    Value before(node);
    replaceValue(before);
    step.commit();
    changed(std::move(before));
}

bool Input::disconnect() {
    Output* before = sourceOutput();
    if (!before) return false;
    replaceSource(before, nullptr);
    return true;
}

// Records the change and notifies observers, who can still read the output before.
void Input::replaceSource(Output* before, Output* after) {
    if (isUnnotified()) {
        setSource(after);
        return changedUnnotified();
    }
    const RefersTo<Output> held(before);
    EditStep step(m_node);
    step.prepare<SourceChange>(*this);
    expectNotification(m_node, static_cast<const IInput*>(this));
    setSource(after);
    step.commit();
    if (m_node) m_node->onInputConnected(this, before, after);
}

void Input::leadsChanged() noexcept {
    if (m_node) m_node->leadsChanged();
}

void tiesChanged(const Input& input) noexcept {
    if (!input.ownExtras()) return;
    if (INode* linked = linkedNode(input)) implOf(linked)->readersChanged();
    if (INode* read = sourceNode(input)) implOf(read)->readersChanged();
}

// Updates both ends without notifications. Cannot fail when it ends a connection.
void Input::setSource(Output* output, u64 rank) {
    if (sourceOutput() == output) return;
    InputExtras& own = extras();
    if (output) output->makeRoom({});
    leadsChanged();
    if (own.source) own.source->removeTarget(own.sourceSlot, {});
    own.source = output;
    if (output) own.sourceSlot = output->addTarget(this, rank, {});
    dropHash();
}

namespace {

// Returns the node whose scene records the edits that `other` causes in an input. Null while the
// input's node is in its destructor, because a record holds a reference to that node.
const Node* recorderOf(const Input& input, const INode* other) {
    const auto* node = implOf(input.node());
    return node && node->isEnding() ? nullptr : implOf(other);
}

} // namespace

// Called by the output for the last of its connections. Recorded in the scene of the output's node,
// because undo cannot restore an output of a free node.
void Input::endSource(Output& output, bool isRecorded, Only<Output> /*key*/) {
    EditStep step(isRecorded ? recorderOf(*this, output.node()) : nullptr);
    step.prepare<SourceChange>(*this, output, output.targetCount() - 1);
    expectNotification(m_node, static_cast<const IInput*>(this));
    static_cast<void>(output.takeLastTarget({}));
    m_extras->source = nullptr;
    leadsChanged();
    step.commit();
    if (m_node) m_node->onInputConnected(this, &output, nullptr);
}

void Input::dropSource(Only<Output> /*key*/) noexcept {
    m_extras->source = nullptr;
    leadsChanged();
    if (m_node) m_node->setDirty(true);
}

// Adds the link in the kept value to its table, as `linkTo` does for the value.
void Input::linkStash() {
    Stash& kept = *m_extras->stash;
    INode* node = kept.value.type() == AttrType::Node ? kept.value.asNode() : nullptr;
    if (!node || kept.link.table) return;
    Scene* scene = homeOf(*node);
    kept.link.input = this;
    (scene ? scene->stashLinks() : LinkTable::keptOfFreeNodes()).add(kept.link, node);
}

// Moves the link of this input to the ring of links to `node`; null removes it.
void Input::linkTo(INode* node) {
    if (!node && !m_extras) return;
    Link& link = extras().link;
    leadsChanged();
    if (link.table) {
        linkEnds(m_node, link.target);
        link.table->remove(link);
    }
    if (!node) return;
    implOf(node)->readersChanged();
    Scene* scene = homeOf(*node);
    link.input = this;
    (scene ? scene->links() : LinkTable::ofFreeNodes()).add(link, node);
}

// Replaces links to a node that is removed, converted or destroyed, even in a read-only input. If
// modifiers wrote the value, the user's value is the kept one, and its change is recorded. The
// scene of `from` records it, because undo cannot restore a link to a free node.
void Input::relink(const INode& from, INode* to) {
    const Value* kept = stashed();
    const bool isKept = kept && kept->type() == AttrType::Node && kept->asNode() == &from;
    const bool isHeld = linkedNode(*this) == &from;
    if (!isKept && !isHeld) return;
    EditStep step(recorderOf(*this, &from));
    expectNotification(m_node, static_cast<const IInput*>(this));
    // The order matters: a change between `prepare` and `commit` would use the prepared memory.
    const bool isUsers = isModified();
    if (isKept && !isUsers) relinkStash(from, to);
    if (isUsers ? isKept : isHeld) step.prepare<ValueChange>(*this);
    if (isKept && isUsers) relinkStash(from, to);
    if (isHeld) {
        Value value(to);
        replaceValue(value);
    }
    step.commit();
    changed(Value(const_cast<INode*>(&from)));
}

// Recorded in the scene of `from`, because this input's node may be in no scene.
void Input::relinkStash(const INode& from, INode* to) {
    EditStep step(isUpToModifiers() ? nullptr : recorderOf(*this, &from));
    step.prepare<StashChange>(*this);
    replaceStash(Value(to), {});
    step.commit();
}

void Input::dropLink(Only<Node> /*key*/) noexcept {
    Link& link = m_extras->link;
    link.table->remove(link);
    forgetLink({});
    if (m_node) m_node->setDirty(true);
}

void Input::dropStashedLink(Only<Node> /*key*/) noexcept {
    Link& link = m_extras->stash->link;
    link.table->remove(link);
    forgetStashedLink({});
}

void Input::forgetLink(Only<Input, Scene> /*key*/) noexcept {
    m_value = Value(static_cast<INode*>(nullptr));
}

void Input::forgetStashedLink(Only<Input, Scene> /*key*/) noexcept {
    m_extras->stash->value = Value(static_cast<INode*>(nullptr));
}

void Input::redirect(INode* link, Output* source, u64 rank,
                     Only<NodeCopies, NodeExchange, Scene> /*key*/) {
    setSource(source, rank);
    if (type() != AttrType::Node || m_value.asNode() == link) return;
    linkTo(link);
    m_value = Value(link);
}

} // namespace qv::kelvo_sdk::impl
