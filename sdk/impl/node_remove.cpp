// ---- Attribute removal -----------------------------------------------------------------
// The node is dirty before anyone is told, and lets go of the attribute after everyone was, so
// that it can still be read.

#include "sdk/impl/node.h"

#include "sdk/impl/edit_step.h"
#include "sdk/impl/input.h"
#include "sdk/impl/input_changes.h"
#include "sdk/impl/input_list.h"
#include "sdk/impl/node_changes.h"
#include "sdk/impl/output.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Ends the node's hold on an attribute that left its list, even when one who is told of it throws.
template<typename Attribute>
class Departure {
public:
    explicit Departure(Attribute* attribute) noexcept : m_attribute(attribute) {}
    ~Departure() {
        m_attribute->clearNode();
        m_attribute->decRef();
    }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

    Attribute* operator->() const noexcept { return m_attribute; }

private:
    Attribute* m_attribute;
};

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
    const EditStep step(this);
    while (!m_inputs.empty()) {
        if (!removeInput(u64(0))) return false;
    }
    return true;
}

bool Node::removeFoundInput(IInput* input) {
    auto* removed = static_cast<Input*>(input);
    EditStep step(this);
    if (step.isRecording()) {
        const u64 index = indexInList(m_inputs, input);
        step.prepare<InputListChange>(*removed, this, nullptr, index, false)
            ->takeComments(step.scene().comments());
    }
    markDirty();
    removeFromList(m_inputs, input);
    step.commit();
    const Departure departing(removed);
    onInputRemoved(input);
    departing->removedFromOwner();
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
    const EditStep step(this);
    while (!m_outputs.empty()) {
        if (!removeOutput(u64(0))) return false;
    }
    return true;
}

bool Node::removeFoundOutput(IOutput* output) {
    auto* removed = static_cast<Output*>(output);
    EditStep step(this);
    if (step.isRecording()) {
        const auto place = std::ranges::find(m_outputs, output) - m_outputs.begin();
        step.prepare<OutputListChange>(*removed, *this, static_cast<u64>(place), false)
            ->takeComments(step.scene().comments());
    }
    markDirty();
    m_outputs.removeAll(output);
    step.commit();
    const Departure departing(removed);
    onOutputRemoved(output);
    departing->removedFromNode();
    return true;
}

} // namespace qv::kelvo_sdk::impl
