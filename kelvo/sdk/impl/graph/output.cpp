#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/impl/value/conversion.h"

namespace qv::kelvo_sdk::impl {

Output::Output(INode* node, String name, AttrType type)
    : m_type(type), m_node(node), m_name(std::move(name)), m_nameHash(m_name.foldedHash()) {}

Output::Output(INode* node, String name, DataType type)
    : m_type(AttrType::Buffer),
      m_dataType(type),
      m_node(node),
      m_name(std::move(name)),
      m_nameHash(m_name.foldedHash()) {}

// Sends no notification, because observers could not refer to the output any more.
Output::~Output() {
    dropTargets();
}

void Output::incRef() {
    m_counts.fetch_add(1);
}

// If the caller has the only reference, no other thread can change the count.
void Output::decRef() {
    if (m_counts.load() == 1 || static_cast<u32>(m_counts.fetch_sub(1)) == 1) delete this;
}

IOutput* Output::clone(INode* node) const {
    auto* copy = m_type == AttrType::Buffer ? new Output(node, m_name, m_dataType)
                                            : new Output(node, m_name, m_type);
    copy->m_value = m_value;
    return copy;
}

void Output::leaveOwner(Only<Departure<Output>> /*key*/) noexcept {
    dropTargets();
    clearNode({});
}

// Records the last target first: undo goes backwards, so each target finds those before it in
// place. Skips targets of nodes that are being destroyed, because no record may keep them alive.
void Output::leaveList(Only<Node> /*key*/) {
    m_hasLeft = true;
    EditStep step(implOf(m_node));
    if (!step.isRecording()) return;
    for (u64 rank = m_targets.size(); rank-- > 0;) {
        const auto* reader = implOf(m_targets.at(rank)->node());
        if (reader && reader->isEnding()) continue;
        step.prepare<SourceChange>(*m_targets.at(rank), *this, rank);
        step.commit();
    }
}

String Output::typeName() const {
    const String kind(attrTypeName(m_type));
    return m_type == AttrType::Buffer ? kind + "<" + dataTypeName(m_dataType) + ">" : kind;
}

String Output::path() const {
    return m_node ? m_node->name() + "." + m_name : m_name;
}

bool Output::hasDataType(DataType type) const {
    return m_type == AttrType::Buffer && m_dataType == type;
}

u64 Output::targetCount() const {
    return m_targets.size();
}

IInput* Output::target(u64 index) const {
    return m_targets.at(index);
}

// All readers of the output read the new node from now on.
void Output::setNode(INode* node) noexcept {
    readersChanged();
    m_node = node;
    readersChanged();
    m_targets.forEach([](Input* target) { target->leadsChanged(); });
}

void Output::readersChanged() const noexcept {
    if (m_node) implOf(m_node)->readersChanged();
}

u64 Output::addTarget(Input* input, u64 rank, Only<Input, LawBreaker> /*key*/) {
    readersChanged();
    if (rank >= m_targets.size()) return m_targets.add(input);
    return m_targets.insert(rank, input, [](Input& moved, u64 to) { moved.setSourceSlot(to, {}); });
}

void Output::removeTarget(u64 slot, Only<Input, LawBreaker> /*key*/) noexcept {
    readersChanged();
    m_targets.remove(slot, [](Input& input, u64 to) { input.setSourceSlot(to, {}); });
}

Input* Output::takeLastTarget(Only<Input, Output> /*key*/) noexcept {
    readersChanged();
    return m_targets.takeLast();
}

// A notification is never lost: if memory runs out afterwards, its opposite follows. Without memory
// to hold it back, observers are notified within the loop and may connect inputs again, so that the
// loop counts.
void Output::disconnectTargets(bool isRecorded) {
    if (m_targets.empty()) return;
    DeferredNotifications deferred(DeferredNotifications::Kind::Certain);
    for (u64 left = m_targets.size(); left > 0 && !m_targets.empty(); --left)
        m_targets.at(m_targets.size() - 1)->endSource(*this, isRecorded, {});
    deferred.release();
}

void Output::dropTargets() noexcept {
    while (Input* input = takeLastTarget({}))
        input->dropSource({});
}

bool Output::setValue(Value value) {
    EditStep step(implOf(m_node));
    step.prepare<OutputValueChange>(*this);
    const bool done = storeValue(std::move(value));
    step.commit();
    evaluationChanged();
    return done;
}

void Output::exchangeValue(Value& other, Only<OutputValueChange> /*key*/) {
    std::swap(m_value, other);
    evaluationChanged();
}

void Output::evaluationChanged() const noexcept {
    const auto* node = implOf(m_node);
    auto* scene = node ? implOf(node->liveScene()) : nullptr;
    if (scene) scene->resultsChanged(*node, {});
}

bool Output::storeValue(Value value) {
    if (value.type() == m_type) {
        if (m_type == AttrType::Buffer && value.asBuffer().type() != m_dataType) return false;
        m_value = std::move(value);
        return !m_value.isNull();
    }
    return convertValue(value, m_type, m_value);
}

} // namespace qv::kelvo_sdk::impl
