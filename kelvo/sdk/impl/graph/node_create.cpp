// ---- Attribute creation ----------------------------------------------------------------
// An existing attribute of the same name and kind is returned instead of a new one, with a
// warning if its element type differs. Only an illegal name gives null. A new attribute makes
// the node dirty, is appended, and is notified, in this order.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/node_changes.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

// The kind is quoted in this form of the message; readers of logs rely on it.
bool checkAttrName(const String& name, const char* kind, const Node& node) {
    if (name.isSimpleCID()) return true;
    logError("Cannot create illegally-named %s '%s' on node %s.", name.buf(), kind,
             node.name().buf());
    return false;
}

bool isPlainKind(AttrType type) noexcept {
    return type < AttrType::Node || type > AttrType::Object;
}

template<typename Attribute>
bool isOfKind(const Attribute& attribute, AttrType type) {
    return type == AttrType::Null || attribute.type() == type;
}

// Logs that an attribute is unchanged. `word` is "input" or "output", `suffix` "" or "[]".
template<typename Attribute>
void warnOfReuse(const char* word, const Attribute& existing, const char* asked,
                 const char* suffix) {
    logWarning("Cannot re-create %s %s %s as %s%s.", existing.typeName().buf(), word,
               existing.path().buf(), asked, suffix);
}

// Ignores an input of another kind: a second input of that name is made beside it.
IInput* reusableInput(const Node& node, const String& name, AttrType type, AttrType elementType,
                      DataType dataType) {
    IInput* existing = node.lookUpInput(name);
    if (!existing || !isOfKind(*existing, type)) return nullptr;
    if (type == AttrType::Buffer && !existing->hasDataType(dataType))
        warnOfReuse("input", *existing, dataTypeName(dataType), "[]");
    else if (type == AttrType::Array && !existing->hasElementType(elementType))
        warnOfReuse("input", *existing, attrTypeName(elementType), "[]");
    else if (existing->type() != type)
        warnOfReuse("input", *existing, attrTypeName(type), "");
    return existing;
}

IOutput* reusableOutput(const Node& node, const String& name, AttrType type, DataType dataType) {
    IOutput* existing = node.lookUpOutput(name);
    if (!existing || !isOfKind(*existing, type)) return nullptr;
    if (type == AttrType::Buffer && !existing->hasDataType(dataType))
        warnOfReuse("output", *existing, dataTypeName(dataType), "[]");
    else if (existing->type() != type)
        warnOfReuse("output", *existing, attrTypeName(type), "");
    return existing;
}

} // namespace

IInput* Node::createInput(String name, AttrType type) {
    if (!checkAttrName(name, "Input", *this)) return nullptr;
    if (IInput* existing = reusableInput(*this, name, type, AttrType::Null, DataType::Null))
        return existing;
    return addInput(new Input(this, nullptr, std::move(name), type, AttrType::Null));
}

IInput* Node::createInput(String name, AttrData data) {
    if (!checkAttrName(name, "Input", *this)) return nullptr;
    if (IInput* existing = reusableInput(*this, name, data.type, AttrType::Null, DataType::Null))
        return existing;
    return addInput(new Input(this, nullptr, std::move(name), std::move(data)));
}

IInput* Node::createBuffer(String name, DataType elementType) {
    if (!checkAttrName(name, "Input", *this)) return nullptr;
    if (IInput* existing =
            reusableInput(*this, name, AttrType::Buffer, AttrType::Null, elementType))
        return existing;
    AttrData data(AttrType::Buffer);
    data.dataType = elementType;
    return addInput(new Input(this, nullptr, std::move(name), std::move(data)));
}

IInput* Node::createArray(String name, AttrType elementType) {
    if (!checkAttrName(name, "Input", *this)) return nullptr;
    if (IInput* existing = reusableInput(*this, name, AttrType::Array, elementType, DataType::Null))
        return existing;
    return addInput(new Input(this, nullptr, std::move(name), AttrType::Array, elementType));
}

IOutput* Node::createOutput(String name, AttrType type) {
    if (!checkAttrName(name, "Output", *this)) return nullptr;
    if (IOutput* existing = reusableOutput(*this, name, type, DataType::Null)) return existing;
    if (!isPlainKind(type)) {
        logError("Cannot create output %s '%s' (type not supported for output).", name.buf(),
                 attrTypeName(type));
        return nullptr;
    }
    return addOutput(new Output(this, std::move(name), type));
}

IOutput* Node::createOutput(String name, DataType dataType) {
    if (!checkAttrName(name, "Output", *this)) return nullptr;
    if (IOutput* existing = reusableOutput(*this, name, AttrType::Buffer, dataType))
        return existing;
    return addOutput(new Output(this, std::move(name), dataType));
}

IInput* Node::checkExistingInput(String name, AttrType type, AttrType elementType,
                                 DataType dataType) const {
    return reusableInput(*this, name, type, elementType, dataType);
}

IOutput* Node::checkExistingOutput(String name, AttrType type, DataType dataType) const {
    return reusableOutput(*this, name, type, dataType);
}

// Takes over the creator's reference for the node. Observers may remove the input, or the whole
// node.
IInput* Node::addInput(Input* input) {
    if (!input->isSilent() && isUnnotified(*input)) {
        auto created = RefersTo<Input>::adopt(input);
        appendToList(m_inputs, input);
        changedUnnotified();
        return created.detach();
    }
    const bool isHeld = mayCallBack(*this);
    const RefersTo<Node> self(isHeld ? this : nullptr);
    const RefersTo<Input> made(isHeld ? input : nullptr);
    auto created = RefersTo<Input>::adopt(input);
    {
        EditStep step(this);
        step.prepare<InputListChange>(*input, nullptr, m_inputs.size(), true);
        expectNotification(this, static_cast<const IInput*>(input));
        appendToList(m_inputs, input);
        std::ignore = created.detach();
        step.commit();
        onInputAdded(input);
    }
    const bool isThere = !isHeld || (input->node() == this && !isLastReference());
    return isThere ? input : nullptr;
}

IOutput* Node::addOutput(Output* output) {
    const bool isHeld = mayCallBack(*this);
    const RefersTo<Node> self(isHeld ? this : nullptr);
    const RefersTo<Output> made(isHeld ? output : nullptr);
    auto created = RefersTo<Output>::adopt(output);
    {
        EditStep step(this);
        step.prepare<OutputListChange>(*output, *this, m_outputs.size(), true);
        expectNotification(this, static_cast<const IOutput*>(output));
        appendToList(m_outputs, output);
        std::ignore = created.detach();
        step.commit();
        onOutputAdded(output);
    }
    const bool isThere = !isHeld || (output->node() == this && !isLastReference());
    return isThere ? output : nullptr;
}

void Node::append(RefersTo<Input> input, Only<Node, SceneBuilder> /*key*/) {
    appendToList(m_inputs, input.get());
    std::ignore = input.detach();
}

void Node::append(RefersTo<Output> output, Only<Node, SceneBuilder> /*key*/) {
    appendToList(m_outputs, output.get());
    std::ignore = output.detach();
}

void Node::put(RefersTo<Input> input, u64 index, Only<InputListChange> /*key*/) {
    insertIntoList(m_inputs, std::min(index, m_inputs.size()), input.get());
    std::ignore = input.detach();
    leadsChanged();
}

void Node::put(RefersTo<Output> output, u64 index, Only<OutputListChange> /*key*/) {
    insertIntoList(m_outputs, std::min(index, m_outputs.size()), output.get());
    std::ignore = output.detach();
}

void Node::reserve(u64 inputs, u64 outputs, Only<SceneBuilder> /*key*/) {
    m_inputs.reserve(m_inputs.size() + inputs);
    m_outputs.reserve(m_outputs.size() + outputs);
}

} // namespace qv::kelvo_sdk::impl
