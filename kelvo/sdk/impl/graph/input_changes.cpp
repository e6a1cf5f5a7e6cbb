#include "kelvo/sdk/impl/graph/input_changes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qv::kelvo_sdk::impl {

InputChange::InputChange(Input& input) : m_input(&input), m_node(implOf(input.node())) {}

void InputChange::expect(Scene& scene) {
    scene.expect(static_cast<const IInput*>(m_input.get()));
}

// A removed input has no node any more, so adds the name of the node that it had.
String InputChange::subject() const {
    const String path = m_input->path();
    return m_input->node() || !m_node ? path : m_node->name() + "." + path;
}

// ---- Values --------------------------------------------------------------------------------

namespace {

// Tells whether an input of a node in the scene may not refer to this node.
bool isBarred(const Input& input, const INode* to) {
    const auto* node = implOf(input.node());
    return node && !node->hasLeft() && barBetween(node, to);
}

// Keeps the node of a link alive.
RefersTo<INode> linkedBy(const Value& value) {
    return RefersTo<INode>(value.type() == AttrType::Node ? value.asNode() : nullptr);
}

} // namespace

ValueChange::ValueChange(Input& input)
    : InputChange(input), m_other(input.ownValue()), m_linked(linkedBy(m_other)) {}

void ValueChange::swap(Scene& /*scene*/) {
    m_restored = std::exchange(m_linked, linkedBy(input().ownValue()));
    Value other = std::exchange(m_other, input().ownValue());
    input().exchangeValue(other, {});
}

// The restored link may lead to a node that joined another scene meanwhile; then clears it.
void ValueChange::settle() {
    const Value& value = input().ownValue();
    if (value.type() != AttrType::Node || !isBarred(input(), value.asNode())) return;
    Value none(static_cast<INode*>(nullptr));
    input().exchangeValue(none, {});
}

const void* ValueChange::valueOwner() const {
    return m_other.type() != AttrType::Node ? &input() : nullptr;
}

bool ValueChange::isNothing() const {
    return m_other.type() != AttrType::Node && m_other == input().ownValue();
}

u64 ValueChange::bytes() const {
    return sizeof(*this) + m_other.payloadBytes();
}

String ValueChange::text() const {
    return "Set " + subject();
}

DetailsChange::DetailsChange(Input& input)
    : InputChange(input), m_other(const_cast<AttrDetails*>(input.details())) {}

void DetailsChange::swap(Scene& /*scene*/) {
    RefersTo<AttrDetails> now(const_cast<AttrDetails*>(input().details()));
    input().setDetails(std::exchange(m_other, std::move(now)));
}

StashChange::StashChange(Input& input) : InputChange(input) {
    if (!input.stashed()) return;
    m_other = std::make_unique<Stash>(Stash{*input.stashed(), {}});
    m_linked = linkedBy(m_other->value);
}

StashChange::~StashChange() = default;

void StashChange::swap(Scene& /*scene*/) {
    const Value* const kept = input().stashed();
    m_restored = std::exchange(m_linked, linkedBy(kept ? *kept : Value()));
    input().exchangeStash(m_other, {});
}

u64 StashChange::bytes() const {
    return sizeof(*this) + (m_other ? m_other->value.payloadBytes() : 0);
}

String StashChange::text() const {
    return "Keep " + subject();
}

// ---- Connections ---------------------------------------------------------------------------

namespace {

// The record must own the node of an output: a node without a scene may have no other owner.
RefersTo<INode> nodeOf(const RefersTo<Output>& output) {
    return RefersTo<INode>(output ? output->node() : nullptr);
}

} // namespace

SourceChange::SourceChange(Input& input)
    : InputChange(input),
      m_other(input.sourceOutput()),
      m_otherNode(nodeOf(m_other)),
      m_rank(input.sourceRank()) {}

SourceChange::SourceChange(Input& input, Output& source, u64 rank)
    : InputChange(input), m_other(&source), m_otherNode(nodeOf(m_other)), m_rank(rank) {}

void SourceChange::swap(Scene& /*scene*/) {
    const RefersTo<Output> now = std::exchange(m_other, RefersTo<Output>(input().sourceOutput()));
    m_restored = std::exchange(m_otherNode, nodeOf(m_other));
    const u64 rank = std::exchange(m_rank, input().sourceRank());
    input().exchangeSource(now.get(), rank, {});
}

// A client with a handle may have removed the output from a node outside the scene, or added the
// node to another scene.
void SourceChange::settle() {
    Output* const source = input().sourceOutput();
    if (!source || (source->node() && !isBarred(input(), source->node()))) return;
    const RefersTo<Output> held(source);
    input().exchangeSource(nullptr, noIndex, {});
}

String SourceChange::text() const {
    return (input().sourceOutput() ? "Connect " : "Disconnect ") + subject();
}

// ---- Lists ---------------------------------------------------------------------------------

ElementMove::ElementMove(Input& array, u64 from, u64 to)
    : InputChange(array), m_from(from), m_to(to) {}

void ElementMove::swap(Scene& /*scene*/) {
    std::swap(m_from, m_to);
    if (std::max(m_from, m_to) < input().inputCount()) input().moveMember(m_from, m_to, {});
}

String ElementMove::text() const {
    return "Move an element of " + subject();
}

InputListChange::InputListChange(Input& input, Input* parent, u64 index, bool isIn)
    : InputChange(input), m_parent(parent), m_index(index), m_isIn(isIn) {}

void InputListChange::takeComments(SceneComments& from) {
    from.take(&input(), m_comments);
}

void InputListChange::swap(Scene& scene) {
    m_isIn = !m_isIn;
    if (std::exchange(m_isPassedOver, false)) return;
    m_isPassedOver = !(m_isIn ? putIn(scene) : takeOut(scene));
}

// A removed node may have been changed through a handle: returns false when the change does not fit
// any more. An input whose removal is not complete still has its node.
bool InputListChange::putIn(Scene& scene) {
    if (m_parent && m_parent->node() != node()) return false;
    const auto& list = m_parent ? m_parent->members() : node()->inputs();
    const INode* present = input().node();
    if (present && (present != node() || list.contains(&input()))) return false;
    RefersTo<Input> entering(&input());
    if (m_parent)
        m_parent->putMember(std::move(entering), std::min(m_index, m_parent->inputCount()), {});
    else
        node()->put(std::move(entering), m_index, {});
    input().entered(node(), m_parent.get(), {});
    scene.comments().putBack(m_comments);
    node()->onInputAdded(&input());
    // Silent inputs cause no notification, but modifiers may write to them.
    if (input().isSilent()) scene.applyModifiers(node());
    return true;
}

bool InputListChange::takeOut(Scene& scene) {
    if (input().node() != node()) return false;
    keepComments([&] { takeComments(scene.comments()); });
    if (m_parent)
        m_parent->takeMember(&input(), {});
    else
        node()->takeInput(indexInList<IInput>(node()->inputs(), &input()), {});
    // Takes over the reference of the list.
    auto leaving = RefersTo<Input>::adopt(&input());
    leaving->showOwnValues({});
    node()->onInputRemoved(&input());
    if (isModifierList(input()) && !modifierListOf(*node())) scene.lastModifierLeft(*node());
    afterNotifications([leaving = std::move(leaving)] { leaving->left({}); });
    return true;
}

// An element has no name of its own outside of its array.
String InputListChange::subject() const {
    if (input().node()) return input().path();
    String owner = m_parent ? m_parent->path() : node()->name();
    if (m_parent && !m_parent->node()) owner = node()->name() + "." + owner;
    const bool isElement = m_parent && m_parent->type() == AttrType::Array;
    return isElement ? owner + "[" + std::to_string(m_index).c_str() + "]"
                     : owner + "." + input().path();
}

// Only this record keeps a removed input alive, so its bytes count here.
u64 InputListChange::bytes() const {
    u64 bytes = sizeof(*this);
    if (!m_isIn) bytes += input().ownBytes();
    return bytes;
}

String InputListChange::text() const {
    return (m_isIn ? "Add " : "Remove ") + subject();
}

} // namespace qv::kelvo_sdk::impl
