#include "kelvo/sdk/impl/graph/node_converter.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/base/string_io.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Shortens values, because long buffers would drown the message.
String shortText(const Value& value) {
    constexpr u64 most = 40;
    const String text = valueToText(value);
    if (text.size() <= most) return text;
    return String(text.view().substr(0, most)) + "...";
}

String indexName(u64 index) {
    StringIO text;
    text.appendUInt(index);
    return text.take();
}

const Input* memberOf(const Input* definition, const String& name) {
    return definition ? implOf(definition->lookUpInput(name)) : nullptr;
}

bool holdsInputs(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

} // namespace

void NodeConverter::fill() {
    fillInputs();
    fillOutputs();
}

void NodeConverter::fillInputs() {
    for (IInput* input : m_from.inputs()) {
        const auto& from = implOf(*input);
        IInput* known = m_definition ? m_definition->lookUpInput(from.ownName()) : nullptr;
        IInput* to = m_to.lookUpInput(from.ownName());
        const bool isCopy = !to && (m_keepsAll || !known);
        if (isCopy) to = m_to.createInput(from.ownName(), description(from));
        if (to)
            m_pending.push_back({&from, implOf(to), implOf(known), isCopy});
        else
            lose(from, String("is no input of type '") + m_to.type() + "'");
    }
    // Works without recursion: inputs may nest deeper than the stack allows.
    for (u64 i = 0; i < m_pending.size(); ++i) {
        const Step step = m_pending[i];
        convert(step);
    }
}

void NodeConverter::fillOutputs() {
    for (IOutput* output : m_from.outputs()) {
        auto& from = implOf(*output);
        IOutput* to = m_to.lookUpOutput(from.ownName());
        const bool isKnown = m_definition && m_definition->lookUpOutput(from.ownName());
        if (!to && (m_keepsAll || !isKnown)) {
            to = from.type() == AttrType::Buffer
                     ? m_to.createOutput(from.ownName(), from.dataType())
                     : m_to.createOutput(from.ownName(), from.type());
            if (to && !from.value().isNull()) implOf(to)->setValue(from.value());
        }
        m_outputs.emplace_back(&from, implOf(to));
    }
}

void NodeConverter::convert(const Step& step) {
    const Input& from = *step.from;
    Input& to = *step.to;
    m_inputs.emplace_back(&from, &to);
    to.setOmitted(from.isOmitted());
    connect(from, to);
    if (from.type() == AttrType::Object && to.type() == AttrType::Object)
        convertMembers(step);
    else if (from.type() == AttrType::Array && to.type() == AttrType::Array)
        convertElements(step);
    else if (!holdsInputs(from.type()) && !holdsInputs(to.type()))
        convertValue(step);
    else
        lose(from, String("was ") + from.typeName() + " and is " + to.typeName());
}

void NodeConverter::connect(const Input& from, Input& to) {
    Output* source = from.sourceOutput();
    if (!source) return;
    if (takes(to, *source))
        to.connect(source);
    else
        note(from.path(), String("was connected to '") + source->path() + "' (" +
                              source->typeName() + "), which does not convert to " + to.typeName());
}

void NodeConverter::convertMembers(const Step& step) {
    for (const IInput* member : step.from->members()) {
        const auto& from = implOf(*member);
        const Input* known = memberOf(step.definition, from.ownName());
        IInput* to = step.to->lookUpInput(from.ownName());
        const bool isOpen = step.isCopy || !step.to->isReadOnly();
        const bool isCopy = !to && isOpen && (m_keepsAll || !known);
        if (isCopy) to = step.to->createInput(from.ownName(), description(from));
        if (to)
            m_pending.push_back({&from, implOf(to), known, step.isCopy || isCopy});
        else
            lose(from, String("is no member of '") + step.from->path() + "'");
    }
}

void NodeConverter::convertElements(const Step& step) {
    const Input& from = *step.from;
    Input& to = *step.to;
    const u64 count = from.members().size();
    const bool isSameKind = from.elementType() == to.elementType();
    if (count != 0 && !isSameKind && !kindsConvert(from.elementType(), to.elementType()))
        return lose(from, String("was ") + from.typeName() + " and is " + to.typeName());
    const bool isFixed = to.isReadOnly() && !step.isCopy;
    if (isFixed && count != to.members().size()) return lose(from, "is read-only");
    while (to.members().size() > count)
        to.removeLastInput();
    makeElements(step);
}

// Fills existing elements of the array instead of making new ones.
void NodeConverter::makeElements(const Step& step) {
    const Input& from = *step.from;
    Input& to = *step.to;
    const bool isSameKind = from.elementType() == to.elementType();
    for (u64 i = 0; i < from.members().size(); ++i) {
        const auto& element = implOf(*from.members()[i]);
        AttrData data(to.elementType());
        if (isSameKind) data.elementType = element.elementType();
        IInput* made = to.createInput(indexName(i), std::move(data));
        if (made) m_pending.push_back({&element, implOf(made), nullptr, step.isCopy});
    }
}

void NodeConverter::convertValue(const Step& step) {
    const Input& from = *step.from;
    Input& to = *step.to;
    const Value value = userValue(from);
    if (value.isNull() || to.value() == value) return;
    const Value result = converted(value, to);
    if (result.isNull())
        return lose(from, String("is ") + to.typeName() + ": '" + shortText(value) +
                              "' does not convert");
    if (to.value() == result) return;
    if (to.isReadOnly() && !step.isCopy) return lose(from, "is read-only");
    if (to.details() && !to.details()->accepts(result))
        return lose(from, String("does not take '") + shortText(result) +
                              "': it is out of range or not among the choices");
    if (!to.setReadOnlyValue(result))
        lose(from, String("does not take '") + shortText(result) + "'");
}

// Returns Null if the value does not convert. A text that names a node becomes a link to it.
Value NodeConverter::converted(const Value& value, const Input& to) const {
    Value result;
    if (value.type() == AttrType::String && to.type() == AttrType::Node) {
        INode* named = m_scene.findNode(value.asString());
        if (named == &m_from) named = &m_to;
        return named || value.asString().isEmpty() ? Value(named) : result;
    }
    if (value.type() != to.type()) {
        impl::convertValue(value, to.type(), result);
        return result;
    }
    const bool isOtherBuffer = to.declaredType() != DataType::Null &&
                               value.type() == AttrType::Buffer &&
                               value.asBuffer().type() != to.declaredType();
    return isOtherBuffer ? result : value;
}

// Ignores values of modifiers, and redirects links from the node to itself to the replacement.
Value NodeConverter::userValue(const Input& from) const {
    const Value& value = from.ownValue();
    const bool isOwnLink = value.type() == AttrType::Node && value.asNode() == &m_from;
    return isOwnLink ? Value(static_cast<INode*>(&m_to)) : value;
}

AttrData NodeConverter::description(const Input& from) const {
    AttrData data = from.description();
    data.value = userValue(from);
    return data;
}

void NodeConverter::lose(const Input& from, String reason) {
    if (!from.isDefault()) note(from.path(), std::move(reason));
}

void NodeConverter::note(String path, String reason) {
    m_losses.push_back({std::move(path), std::move(reason)});
}

// Keeps the inputs alive, because observers may remove them.
void NodeConverter::moveTargets() {
    for (const auto& [from, to] : m_outputs) {
        std::vector<RefersTo<Input>> targets;
        from->forEachTarget(
            [&](const Input& input) { targets.emplace_back(const_cast<Input*>(&input)); });
        for (const RefersTo<Input>& target : targets) {
            if (target->sourceOutput() != from) continue;
            if (to && takes(*target, *to)) {
                target->connect(to);
                continue;
            }
            note(target->path(), String("was connected to '") + from->path() + "', which " +
                                     (to ? String("is ") + to->typeName() + " now"
                                         : String("type '") + m_to.type() + "' lacks"));
            target->disconnect();
        }
    }
}

// Moves all comments or, when out of memory, none.
void NodeConverter::moveComments() const {
    SceneComments& comments = m_scene.comments();
    if (comments.empty() && comments.file().unread.empty()) return;
    SceneComments moved;
    const auto copy = [&](const auto* from, const auto* to) {
        if (const Comments* found = comments.find(from)) moved.set(to, Comments(*found));
    };
    copy(static_cast<const INode*>(&m_from), static_cast<const INode*>(&m_to));
    for (const auto& [from, to] : m_inputs)
        copy(static_cast<const IInput*>(from), static_cast<const IInput*>(to));
    for (const auto& [from, to] : m_outputs)
        if (to) copy(static_cast<const IOutput*>(from), static_cast<const IOutput*>(to));
    Comments file = comments.file();
    for (UnreadLines& lines : file.unread)
        if (lines.node == &m_from) lines.node = &m_to;
    moved.setFile(std::move(file));
    comments.reserveFor(moved);
    comments.remove(static_cast<const INode*>(&m_from));
    comments.merge(std::move(moved));
}

} // namespace qv::kelvo_sdk::impl
