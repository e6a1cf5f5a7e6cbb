#include "kelvo/sdk/impl/observe/net_changes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"

namespace qv::kelvo_sdk::impl {

void NetChanges::nodeRenamed(INode* node, const String& before) {
    NodeEvents& events = eventsOf(node);
    if (!events.isRenamed) events.nameBefore = before;
    events.isRenamed = true;
}

void NetChanges::inputChanged(const IInput* input, const AttrData* previous) {
    InputEvents& events = eventsOf(input);
    events.isChanged = true;
    if (previous) noteBefore(events, previous->value);
}

void NetChanges::noteBefore(InputEvents& events, const Value& value) {
    if (std::exchange(events.isBeforeKnown, true)) return;
    events.before = value;
    if (value.type() == AttrType::Node) events.linkedBefore = RefersTo<INode>(value.asNode());
}

void NetChanges::inputConnected(const IInput* input, const IOutput* before) {
    InputEvents& events = eventsOf(input);
    if (!events.isConnected) events.sourceBefore = RefersTo<IOutput>(const_cast<IOutput*>(before));
    events.isConnected = true;
}

void NetChanges::inputRenamed(const IInput* input, const String& before) {
    InputEvents& events = eventsOf(input);
    if (!events.isRenamed) events.nameBefore = before;
    events.isRenamed = true;
}

void NetChanges::nodeMoved(INode* node) {
    eventsOf(node).isMoved = true;
}

// A new node behind all others shifts none of them. Without memory, all nodes that were moved count
// as moved.
void NetChanges::nodeShifted(const INode& node, const Shift& shift) noexcept {
    try {
        NodeEvents& events = entryOf(&node);
        const bool isNew = events.shifts == 0 && (shift.isIn || events.isAppended);
        if (isNew && shift.isLast) {
            events.isAppended = true;
        } else if (takesBack(node, shift)) {
            m_shifts.pop_back();
            --events.shifts;
        } else {
            m_shifts.push_back({&node, shift});
            ++events.shifts;
        }
    } catch (const std::bad_alloc&) {
        m_isShiftLost = true;
    }
}

bool NetChanges::takesBack(const INode& node, const Shift& shift) const noexcept {
    if (m_shifts.empty() || m_shifts.back().node != &node) return false;
    const Shift& last = m_shifts.back().shift;
    return last.index == shift.index && last.isIn != shift.isIn;
}

// The first change that is told may not be the first one that was made.
void NetChanges::expect(const IInput* input) {
    InputEvents& events = entryOf(input);
    if (events.isChanged) return;
    noteBefore(events, implOf(input)->value());
    const auto& elements = implOf(input)->members();
    if (input->type() != AttrType::Array || elements.isEmpty()) return;
    const auto [order, isNew] = m_orders.try_emplace(input);
    if (isNew) order->second.assign(elements.begin(), elements.end());
}

namespace {

template<typename List>
void makeRoom(List& list, u64 count) {
    if (list.capacity() < count) list.reserve(2 * count);
}

} // namespace

NetChanges::NodeEvents& NetChanges::entryOf(const INode* node) {
    if (NodeEvents* known = m_nodes.find(node)) return *known;
    const u64 count = m_nodes.order.size() + 1;
    makeRoom(m_net.addedNodes, count);
    makeRoom(m_net.removedNodes, count);
    makeRoom(m_net.renamedNodes, count);
    makeRoom(m_net.movedNodes, count);
    return m_nodes.add(node);
}

NetChanges::InputEvents& NetChanges::entryOf(const IInput* input) {
    if (InputEvents* known = m_inputs.find(input)) return *known;
    const u64 count = m_inputs.order.size() + 1;
    makeRoom(m_net.addedInputs, count);
    makeRoom(m_net.removedInputs, count);
    makeRoom(m_net.changedInputs, count);
    makeRoom(m_net.connectedInputs, count);
    makeRoom(m_net.renamedInputs, count);
    return m_inputs.add(input);
}

NetChanges::OutputEvents& NetChanges::entryOf(const IOutput* output) {
    if (OutputEvents* known = m_outputs.find(output)) return *known;
    const u64 count = m_outputs.order.size() + 1;
    makeRoom(m_net.addedOutputs, count);
    makeRoom(m_net.removedOutputs, count);
    return m_outputs.add(output);
}

bool NetChanges::cameOrWent(const INode* node) const {
    const auto found = m_nodes.index.find(node);
    if (found == m_nodes.index.end()) return false;
    const NodeEvents& events = m_nodes.order[found->second];
    return !events.wasIn || !events.isIn;
}

const interfaces::SceneChanges& NetChanges::net() noexcept {
    interfaces::SceneChanges& changes = m_net;
    for (const NodeEvents& events : m_nodes.order) {
        INode* node = events.held.get();
        if (events.isIn && !events.wasIn) changes.addedNodes.push_back(node);
        if (!events.isIn && events.wasIn) changes.removedNodes.push_back(node);
        if (!events.isIn || !events.wasIn) continue;
        if (events.isRenamed && !node->name().equals(events.nameBefore))
            changes.renamedNodes.push_back({node, events.nameBefore});
        if (events.isMoved && (events.shifts != 0 || m_isShiftLost))
            changes.movedNodes.push_back(node);
    }
    for (const InputEvents& events : m_inputs.order)
        addInput(events, changes);
    for (const OutputEvents& events : m_outputs.order) {
        if (cameOrWent(events.node.get())) continue;
        if (events.isIn && !events.wasIn) changes.addedOutputs.push_back(events.held.get());
        if (!events.isIn && events.wasIn) changes.removedOutputs.push_back(events.held.get());
    }
    return changes;
}

void NetChanges::addInput(const InputEvents& events, interfaces::SceneChanges& to) const noexcept {
    const auto* input = implOf(events.held.get());
    if (cameOrWent(events.node.get())) return;
    if (events.isIn && !events.wasIn) to.addedInputs.push_back(input);
    if (!events.isIn && events.wasIn) to.removedInputs.push_back(input);
    if (!events.isIn || !events.wasIn) return;
    if (events.isChanged && isOther(events)) to.changedInputs.push_back(input);
    if (events.isConnected && input->source() != events.sourceBefore.get())
        to.connectedInputs.push_back(input);
    if (events.isRenamed && !input->ownName().equals(events.nameBefore))
        to.renamedInputs.push_back({input, events.nameBefore});
}

// An unknown value before counts as another one.
bool NetChanges::isOther(const InputEvents& events) const noexcept {
    const auto* input = implOf(events.held.get());
    if (input->type() == AttrType::Array) return isReordered(input);
    return events.before.isNull() || !(input->value() == events.before);
}

// Tells whether elements that were in an array all the time have another order, or new ones may
// have been moved.
bool NetChanges::isReordered(const IInput* array) const noexcept {
    const auto known = m_orders.find(array);
    if (known == m_orders.end()) return true;
    const auto& now = implOf(array)->members();
    u64 at = 0;
    for (const IInput* element : known->second) {
        while (at < now.size() && now[at] != element && wentOrReturned(now[at]))
            ++at;
        if (at < now.size() && now[at] == element)
            ++at;
        else if (!wentOrReturned(element))
            return true;
    }
    return false;
}

bool NetChanges::wentOrReturned(const IInput* element) const noexcept {
    const auto found = m_inputs.index.find(element);
    if (found == m_inputs.index.end()) return false;
    const InputEvents& events = m_inputs.order[found->second];
    return events.isListed && (events.wasIn || !events.isIn);
}

} // namespace qv::kelvo_sdk::impl
