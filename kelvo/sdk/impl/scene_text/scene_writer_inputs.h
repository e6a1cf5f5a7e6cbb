// The definitions of the functions of `TextWriter` that write inputs; include them where a writer
// is instantiated.
#pragma once

#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/value/value_text.h"

namespace qv::kelvo_sdk::impl {

/// Tells whether a kind has a value without elements or members.
[[nodiscard]] constexpr bool isPlain(AttrType type) noexcept {
    return type != AttrType::Null && type != AttrType::Object && type != AttrType::Array;
}

// Returns the element type of the buffer in an input.
template<typename Source>
DataType TextWriter<Source>::heldType(Input input) noexcept {
    if (input->type() != AttrType::Buffer) return DataType::Null;
    return knownType(input->ownValue().asBuffer().type());
}

template<typename Source>
AttrType TextWriter<Source>::elementTypeOf(Input input) noexcept {
    return input->type() == AttrType::Array ? knownType(input->elementType()) : AttrType::Null;
}

// Works without recursion: inputs may nest deeper than the stack allows.
template<typename Source>
void TextWriter<Source>::writeInput(Input input, u32 depth, bool isAgain, Input definition) {
    begin({.input = input, .depth = depth, .isAgain = isAgain, .definition = definition});
    while (!m_open.empty())
        goOn();
}

// Writes an input without elements or members completely, others up to their first part.
template<typename Source>
void TextWriter<Source>::begin(Part part) {
    if (!part.isElement && m_changedOnly && m_source.isUnchanged(part.input)) return;
    part.comments = m_source.commentsOf(part.input);
    if (part.isElement)
        beginElement(part);
    else
        beginAttribute(part);
    const AttrType type = knownType(part.input->type());
    if (type != AttrType::Object && type != AttrType::Array) return end(part);
    if (type == AttrType::Object) {
        m_lines.writeOpening(partOf(part.comments, &Comments::opening));
        if (part.comments && !part.comments->unread.empty())
            part.unread = std::make_unique<UnreadPlaces>(&part.comments->unread);
    }
    m_open.push_back(std::move(part));
}

// An input is complete on its own when it lacks members or, without a description of its own, the
// annotations of its definition.
template<typename Source>
void TextWriter<Source>::beginAttribute(Part& part) {
    const Input input = part.input;
    const bool isObject = input->type() == AttrType::Object;
    if (part.definition) {
        auto members = isObject ? Omitted::members(input, part.definition) : Omitted();
        part.isOwn = members.isOwn() ||
                     (saysNothing(input->details()) && !haveSameNotes(input, part.definition));
        if (isObject)
            part.omitted = std::make_unique<Omitted>(part.isOwn ? members.none() : members);
    } else {
        part.isOwn = part.comments && part.comments->isOwn;
    }
    const AttrType type = knownType(input->type());
    if (part.comments) m_lines.writeLeading(part.comments->leading.view(), part.depth);
    writeKind(input, m_lines.beginInput(type, elementTypeOf(input), part.depth));
    m_lines.writeName(input->ownName().view());
    m_lines.beginInputContent(type);
    if (isPlain(type)) writeOwn(input, part.comments);
}

// Elements state their kind when they are arrays, or buffers with an element type.
template<typename Source>
void TextWriter<Source>::beginElement(const Part& part) {
    const Input element = part.input;
    const AttrType type = knownType(element->type());
    const bool namesKind = type == AttrType::Array || heldType(element) != DataType::Null;
    StringIO& out = m_lines.beginElement(type, elementTypeOf(element));
    if (namesKind) {
        writeKind(element, out);
        out.append(' ');
    }
    m_lines.beginElementContent(type);
    if (isPlain(type)) writeOwn(element, part.comments);
}

// Continues with the innermost input that is being written.
template<typename Source>
void TextWriter<Source>::goOn() {
    Part& parent = m_open.back();
    const u64 index = parent.next++;
    if (index < m_source.partsOf(parent.input).size()) return beginNext(parent, index);
    const Part done = std::move(parent);
    m_open.pop_back();
    endList(done);
    end(done);
}

template<typename Source>
void TextWriter<Source>::beginNext(Part& parent, u64 index) {
    const Input next = m_source.partsOf(parent.input)[index];
    if (parent.input->type() == AttrType::Array) {
        m_lines.separateElement(index == 0);
        return begin({.input = next, .depth = parent.depth, .isElement = true});
    }
    const u32 depth = parent.depth + 1;
    if (parent.unread)
        parent.unread->takeBefore(next->ownName(), next->type(), false,
                                  [&](const UnreadLines& lines) { writeUnread(lines, depth); });
    const Omitted* omitted = parent.omitted.get();
    if (omitted && omitted->has(index)) return;
    begin({.input = next,
           .depth = depth,
           .definition = omitted ? omitted->inputDefinition(index) : Input()});
}

template<typename Source>
void TextWriter<Source>::endList(const Part& parent) {
    if (parent.input->type() == AttrType::Array) return m_lines.closeArray();
    const u32 depth = parent.depth + 1;
    if (parent.unread)
        parent.unread->takeRest([&](const UnreadLines& lines) { writeUnread(lines, depth); });
    m_lines.closeObject(partOf(parent.comments, &Comments::inner), parent.depth);
}

template<typename Source>
void TextWriter<Source>::end(const Part& part) {
    writeSource(part.input, part.comments);
    writeNotes(part);
    if (part.isElement)
        m_lines.endElement();
    else
        m_lines.endAttribute(partOf(part.comments, &Comments::trailing));
}

template<typename Source>
void TextWriter<Source>::writeKind(Input input, StringIO& out) const {
    const AttrType type = knownType(input->type());
    out.append(attrTypeName(type));
    if (type == AttrType::Array)
        out.append('<').append(attrTypeName(elementTypeOf(input))).append('>');
    writeDataType(heldType(input), out);
}

template<typename Source>
void TextWriter<Source>::writeDataType(DataType type, StringIO& out) {
    if (type != DataType::Null) out.append('<').append(dataTypeName(type)).append('>');
}

// A link to no node may be a name that was not found; then writes the name.
template<typename Source>
void TextWriter<Source>::writeOwn(Input input, const Comments* comments) {
    if (input->type() != AttrType::Node) return writeValue(input->ownValue(), m_out, m_workers);
    if (comments && !comments->lostLink.isEmpty() && !m_source.isLinked(input))
        m_out.append(comments->lostLink.view());
    else
        writeLink(m_source.linkOf(input));
}

// Without a name there is no node.
template<typename Source>
void TextWriter<Source>::writeLink(const String& name) {
    if (name.isEmpty())
        m_out.append("null");
    else if (name.isSimpleCID() && name.view() != "null")
        m_out.append(name.view());
    else
        writeQuoted(name.view(), m_out);
}

template<typename Source>
void TextWriter<Source>::writeSource(Input input, const Comments* comments) {
    if (!m_source.hasSource(input)) {
        if (comments && !comments->lostSource.isEmpty())
            m_lines.beginSource().append(comments->lostSource.view());
        return;
    }
    const TextOutput source = m_source.sourceOf(input);
    if (source.node.isEmpty()) return;
    m_lines.beginSource().append(source.node.view());
    m_out.append('.').append(source.output.view());
    if (source.ordinal > 1) m_out.append(':').appendUInt(source.ordinal);
}

// ---- Annotations ---------------------------------------------------------------------------

template<typename Source>
void TextWriter<Source>::writeNotes(const Part& part) {
    const Input input = part.input;
    const bool areKnown = part.definition && !part.isOwn && haveSameNotes(input, part.definition);
    const Input parent = m_source.parentOf(input);
    const bool isElement = parent && parent->type() == AttrType::Array;
    const DataType declared = knownType(input->declaredType());
    if (!areKnown && declared != DataType::Null && !isElement)
        writeNote(Note::Type).append(' ').append(dataTypeName(declared));
    if (const Value* stashed = m_source.stashOf(input); stashed && !stashed->isNull()) {
        writeNote(Note::Stashed).append(' ');
        writeOfAnyKind(*stashed, input, [&] { return m_source.stashLinkOf(input); });
    }
    if (!areKnown && input->isSilent() != (parent && parent->isSilent()))
        writeNote(input->isSilent() ? Note::Silent : Note::Announced);
    if (!areKnown && input->hasReadOnlyMark()) writeNote(Note::ReadOnly);
    if (isUnchecked(input, part.comments)) writeNote(Note::Unchecked);
    if (part.isAgain) writeNote(Note::Again);
    if (areKnown) return;
    if (input->details()) writeDetails(input);
    if (part.isOwn) writeNote(Note::Own);
}

// Marks a value outside of its limits, unless the text that was read had no mark; where the limits
// are unknown, keeps the mark as read.
template<typename Source>
bool TextWriter<Source>::isUnchecked(Input input, const Comments* comments) {
    using Unchecked = Comments::Unchecked;
    const Unchecked read = comments ? comments->unchecked : Unchecked::Open;
    const AttrDetails* limits = input->details();
    if (limits ? read == Unchecked::Unsaid : read != Unchecked::Said) return false;
    if (input->type() == AttrType::Node) return false;
    const auto& value = input->ownValue();
    if (value.isNull()) return false;
    return !limits || !limits->accepts(value);
}

template<typename Source>
void TextWriter<Source>::writeDetails(Input input) {
    const AttrDetails& details = *input->details();
    // The value in a definition's line already states the default.
    if (!m_isDefinition || !(details.defaultValue == input->value()))
        writeNoteValue(Note::Default, input, 0);
    writeNoteValue(Note::Minimum, input, 1);
    writeNoteValue(Note::Maximum, input, 2);
    if (!details.unit.isEmpty())
        writeQuoted(details.unit.view(), writeNote(Note::Unit).append(' '));
    writeChoices(input);
    writeTranslations(Note::Label, details.labels);
    writeTranslations(Note::Help, details.helps);
}

template<typename Source>
void TextWriter<Source>::writeChoices(Input input) {
    const ds::Vector<Value>& choices = input->details()->choices;
    if (choices.empty()) return;
    writeNote(Note::Choices).append(' ');
    for (u64 i = 0; i < choices.size(); ++i) {
        m_out.append(i == 0 ? "[" : ", ");
        writeOfAnyKind(choices[i], input, [&] { return m_source.describedLinkOf(input, 3 + i); });
    }
    m_out.append(']');
}

template<typename Source>
void TextWriter<Source>::writeTranslations(Note note, const AttrDetails::Texts& texts) {
    for (const auto& [language, text] : texts) {
        writeQuoted(language.view(), writeNote(note).append(' '));
        writeQuoted(text.view(), m_lines.beginTranslation());
    }
}

// Writes a value of the description; see `describedValue`.
template<typename Source>
void TextWriter<Source>::writeNoteValue(Note note, Input input, u64 place) {
    const Value& value = *describedValue(*input->details(), place);
    if (value.isNull()) return;
    writeNote(note).append(' ');
    writeOfAnyKind(value, input, [&] { return m_source.describedLinkOf(input, place); });
}

// States the kind of a value if it differs from that of the line. `link` returns the name of the
// node if the value is one.
template<typename Source>
template<typename Link>
void TextWriter<Source>::writeOfAnyKind(const Value& value, Input input, const Link& link) {
    const bool isBuffer = value.type() == AttrType::Buffer;
    const DataType held = isBuffer ? knownType(value.asBuffer().type()) : DataType::Null;
    if (value.type() != input->type() || held != heldType(input)) {
        m_out.append(attrTypeName(value.type()));
        writeDataType(held, m_out);
        m_out.append(' ');
    }
    if (value.type() == AttrType::Node)
        writeLink(link());
    else
        writeValue(value, m_out, m_workers);
}

} // namespace qv::kelvo_sdk::impl
