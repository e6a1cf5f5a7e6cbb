// ---- Attribute removal -----------------------------------------------------------------
// The node is dirty before the first notification, and detaches the attribute after the last
// one, so that observers can still read it.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/departure.h"
#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/history/all_calls.h"

#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

// Removes all attributes of a list, each with its notification before the next one is removed.
// Throws exceptions of observers at the end. Attributes remain when memory runs out, when an
// observer removes the node from its scene (undo then restores the node complete), and when an
// observer adds as many as are removed.
template<typename List, typename RemoveFirst, typename HasLeft>
bool clearOneByOne(const List& list, const RemoveFirst& removeFirst, const HasLeft& hasLeft) {
    AllCalls calls;
    bool isRemoved = true;
    for (u64 left = 2 * list.size(); left > 0 && isRemoved && !list.empty(); --left) {
        const u64 count = list.size();
        isRemoved = false;
        calls.make([&] { isRemoved = removeFirst(); });
        if (list.size() < count) isRemoved = true;
        if (hasLeft()) break;
    }
    calls.end();
    return list.empty();
}

} // namespace

bool Node::removeInput(u64 index) {
    IInput* input = findInputByIndex(index);
    return input && removeFoundInput(input);
}

bool Node::removeInput(String name) {
    IInput* input = findInputByName(std::move(name));
    return input && removeFoundInput(input);
}

bool Node::removeLastInput() {
    return !m_inputs.empty() && removeInput(m_inputs.size() - 1);
}

bool Node::clearInputs() {
    const RefersTo<Node> self(this);
    const EditStep step(this);
    return step.make([this] {
        return clearOneByOne(
            m_inputs, [this] { return removeInput(u64(0)); },
            [this, before = m_scene] { return m_scene != before; });
    });
}

bool Node::removeFoundInput(IInput* input) {
    auto* removed = implOf(input);
    const RefersTo<Node> self(this);
    EditStep step(this);
    const u64 index = indexInList(m_inputs, input);
    Departure departing(*removed);
    expectNotification(this, input);
    if (step.isRecording())
        step.prepare<InputListChange>(*removed, nullptr, index, false)
            ->takeComments(step.scene().comments());
    departing.dropComments();
    takeInput(index, {});
    step.commit();
    departing.offList();
    removed->recordTies({});
    removed->showOwnValues({});
    departing.begin();
    onInputRemoved(input);
    return true;
}

bool Node::removeOutput(String name) {
    IOutput* output = findOutputByName(std::move(name));
    return output && removeFoundOutput(output);
}

bool Node::removeOutput(u64 index) {
    IOutput* output = findOutputByIndex(index);
    return output && removeFoundOutput(output);
}

bool Node::removeLastOutput() {
    return !m_outputs.empty() && removeOutput(m_outputs.size() - 1);
}

bool Node::clearOutputs() {
    const RefersTo<Node> self(this);
    const EditStep step(this);
    return step.make([this] {
        return clearOneByOne(
            m_outputs, [this] { return removeOutput(u64(0)); },
            [this, before = m_scene] { return m_scene != before; });
    });
}

bool Node::removeFoundOutput(IOutput* output) {
    auto* removed = implOf(output);
    const RefersTo<Node> self(this);
    EditStep step(this);
    const u64 index = indexInList(m_outputs, output);
    Departure departing(*removed);
    expectNotification(this, output);
    if (step.isRecording())
        step.prepare<OutputListChange>(*removed, *this, index, false)
            ->takeComments(step.scene().comments());
    departing.dropComments();
    takeOutput(index, {});
    step.commit();
    departing.offList();
    removed->leaveList({});
    departing.begin();
    // Observers of the removal still see the targets of the output.
    try {
        step.make([&] {
            AllCalls calls;
            calls.make([&] { onOutputRemoved(output); });
            calls.make([&] { removed->disconnectTargets(false); });
            calls.end();
        });
    } catch (const std::bad_alloc&) {
        if (!removed->hasLeft()) departing.stay();
        throw;
    }
    return true;
}

void Node::takeInput(u64 index, Only<Node, InputListChange> /*key*/) noexcept {
    removeFromList(m_inputs, index);
    leadsChanged();
}

void Node::takeOutput(u64 index, Only<Node, OutputListChange> /*key*/) noexcept {
    removeFromList(m_outputs, index);
    readersChanged();
}

} // namespace qv::kelvo_sdk::impl
