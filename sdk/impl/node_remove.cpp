// ---- Attribute removal -----------------------------------------------------------------
// The node is dirty before anyone is told, and lets go of the attribute after everyone was, so
// that it can still be read.

#include "sdk/impl/node.h"

#include "sdk/impl/input.h"
#include "sdk/impl/input_list.h"
#include "sdk/impl/output.h"

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
    while (!m_inputs.empty()) {
        if (!removeInput(u64(0))) return false;
    }
    return true;
}

bool Node::removeFoundInput(IInput* input) {
    markDirty();
    removeFromList(m_inputs, input);
    const Departure departing(static_cast<Input*>(input));
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
    while (!m_outputs.empty()) {
        if (!removeOutput(u64(0))) return false;
    }
    return true;
}

bool Node::removeFoundOutput(IOutput* output) {
    markDirty();
    m_outputs.removeAll(output);
    const Departure departing(static_cast<Output*>(output));
    onOutputRemoved(output);
    departing->removedFromNode();
    return true;
}

} // namespace qv::kelvo_sdk::impl
