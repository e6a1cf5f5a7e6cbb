// ---- Attribute look-up -----------------------------------------------------------------
// Names are compared without regard to case, and the first match in order decides. Finders that
// fail log one line; questions log nothing.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

bool Node::hasInput(u64 index, AttrType type) const {
    if (index >= m_inputs.size()) return false;
    return type == AttrType::Null || m_inputs[index]->type() == type;
}

bool Node::hasInput(String name, AttrType type) const {
    const IInput* input = lookUpInput(name);
    return input && (type == AttrType::Null || input->type() == type);
}

u64 Node::inputCount() const {
    return m_inputs.size();
}

IInput* Node::input(u64 index) {
    return findInputByIndex(index);
}

IInput* Node::input(u64 index) const {
    return findInputByIndex(index);
}

bool Node::hasOutput(u64 index, AttrType type) const {
    if (index >= m_outputs.size()) return false;
    return type == AttrType::Null || m_outputs[index]->type() == type;
}

bool Node::hasOutput(String name, AttrType type) const {
    const IOutput* output = lookUpOutput(name);
    return output && (type == AttrType::Null || output->type() == type);
}

u64 Node::outputCount() const {
    return m_outputs.size();
}

IOutput* Node::output(u64 index) {
    return findOutputByIndex(index);
}

IOutput* Node::output(u64 index) const {
    return findOutputByIndex(index);
}

IOutput* Node::output(String name) {
    return findOutputByName(name);
}

IOutput* Node::output(String name) const {
    return findOutputByName(name);
}

IInput* Node::findInputByName(const NameView& name) const {
    if (IInput* input = lookUpInput(name)) return input;
    logError("Input '%s' not found in '%s' node '%s'.", String(name.text()).buf(), m_type.buf(),
             m_name.buf());
    return nullptr;
}

IOutput* Node::findOutputByName(const NameView& name) const {
    if (IOutput* output = lookUpOutput(name)) return output;
    logError("Output '%s' not found in '%s' node '%s'.", String(name.text()).buf(), m_type.buf(),
             m_name.buf());
    return nullptr;
}

IInput* Node::lookUpInput(const NameView& name) const noexcept {
    return findInList(m_inputs, name);
}

IOutput* Node::lookUpOutput(const NameView& name) const noexcept {
    return findInList(m_outputs, name);
}

IInput* Node::findInputByIndex(u64 index) const {
    if (index < m_inputs.size()) return m_inputs[index];
    logError("Input index %llu out of range (%llu) for '%s' node '%s'.",
             static_cast<unsigned long long>(index),
             static_cast<unsigned long long>(m_inputs.size()), m_type.buf(), m_name.buf());
    return nullptr;
}

IOutput* Node::findOutputByIndex(u64 index) const {
    if (index < m_outputs.size()) return m_outputs[index];
    logError("Output index %llu out of range (%llu) for '%s' node '%s'.",
             static_cast<unsigned long long>(index),
             static_cast<unsigned long long>(m_outputs.size()), m_type.buf(), m_name.buf());
    return nullptr;
}

i64 Node::indexOf(const IInput* input) const {
    return input ? static_cast<i64>(m_inputs.indexOf(const_cast<IInput*>(input))) : -1;
}

i64 Node::indexOf(const IOutput* output) const {
    return output ? static_cast<i64>(m_outputs.indexOf(const_cast<IOutput*>(output))) : -1;
}

} // namespace qv::kelvo_sdk::impl
