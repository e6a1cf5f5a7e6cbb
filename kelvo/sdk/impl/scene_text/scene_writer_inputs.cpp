// Writes lines of inputs and outputs.

#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the element type of the buffer in an input.
DataType heldType(const Input& input) noexcept {
    if (input.type() != AttrType::Buffer) return DataType::Null;
    return knownType(input.ownValue().asBuffer().type());
}

AttrType elementTypeOf(const Input& input) noexcept {
    return input.type() == AttrType::Array ? knownType(input.elementType()) : AttrType::Null;
}

// Tells whether a kind has a value without elements or members.
constexpr bool isPlain(AttrType type) noexcept {
    return type != AttrType::Null && type != AttrType::Object && type != AttrType::Array;
}

// Tells whether an input lacks the annotations of its definition, without a description of its own.
bool lacksNotes(const Input& input, const Input& definition) noexcept {
    return saysNothing(input.details()) && !haveSameNotes(input, definition);
}

// Marks a value outside of its limits, unless the text that was read had no mark; where the limits
// are unknown, keeps the mark as read.
bool isUnchecked(const Input& input, const Comments* comments) {
    using Unchecked = Comments::Unchecked;
    const Unchecked read = comments ? comments->unchecked : Unchecked::Open;
    const AttrDetails* limits = input.details();
    if (limits ? read == Unchecked::Unsaid : read != Unchecked::Said) return false;
    const Value& value = input.ownValue();
    if (value.isNull() || input.type() == AttrType::Node) return false;
    return !limits || !limits->accepts(value);
}

} // namespace

// Works without recursion: inputs may nest deeper than the stack allows.
void SceneWriter::writeInput(const Input& input, u32 depth, bool isAgain, const Input* definition) {
    begin({.input = &input, .depth = depth, .isAgain = isAgain, .definition = definition});
    while (!m_open.empty())
        goOn();
}

// Writes an input without elements or members completely, others up to their first part.
void SceneWriter::begin(Part part) {
    if (!part.isElement && m_changedOnly && isUnchanged(*part.input)) return;
    part.comments = commentsOf(*part.input);
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

void SceneWriter::beginAttribute(Part& part) {
    const Input& input = *part.input;
    if (part.definition) {
        auto members = input.type() == AttrType::Object
                           ? OmittedAttributes::members(input, *part.definition)
                           : OmittedAttributes();
        part.isOwn = members.isOwn() || lacksNotes(input, *part.definition);
        if (input.type() == AttrType::Object)
            part.omitted =
                std::make_unique<OmittedAttributes>(part.isOwn ? members.none() : members);
    } else {
        part.isOwn = part.comments && part.comments->isOwn;
    }
    const AttrType type = knownType(input.type());
    if (part.comments) m_lines.writeLeading(part.comments->leading.view(), part.depth);
    writeKind(input, m_lines.beginInput(type, elementTypeOf(input), part.depth));
    m_lines.writeName(input.ownName().view());
    m_lines.beginInputContent(type);
    if (isPlain(type)) writeOwn(input, part.comments);
}

// Elements state their kind when they are arrays, or buffers with an element type.
void SceneWriter::beginElement(const Part& part) {
    const Input& element = *part.input;
    const AttrType type = knownType(element.type());
    const bool namesKind = type == AttrType::Array || heldType(element) != DataType::Null;
    StringIO& out = m_lines.beginElement(type, elementTypeOf(element));
    if (namesKind) {
        writeKind(element, out);
        out.append(' ');
    }
    m_lines.beginElementContent(type);
    if (type == AttrType::Buffer)
        writePlain(element.ownValue());
    else if (isPlain(type))
        writeOwn(element, part.comments);
}

// Continues with the innermost input that is being written.
void SceneWriter::goOn() {
    Part& parent = m_open.back();
    const u64 index = parent.next++;
    if (index < parent.input->members().size()) return beginNext(parent, index);
    const Part done = std::move(parent);
    m_open.pop_back();
    endList(done);
    end(done);
}

void SceneWriter::beginNext(Part& parent, u64 index) {
    const auto& next = implOf(*parent.input->members()[index]);
    if (parent.input->type() == AttrType::Array) {
        m_lines.separateElement(index == 0);
        return begin({.input = &next, .depth = parent.depth, .isElement = true});
    }
    const u32 depth = parent.depth + 1;
    if (parent.unread)
        parent.unread->takeBefore(next.ownName(), next.type(), false,
                                  [&](const UnreadLines& lines) { writeUnread(lines, depth); });
    const OmittedAttributes* omitted = parent.omitted.get();
    if (omitted && omitted->has(index)) return;
    begin({.input = &next,
           .depth = depth,
           .definition = omitted ? omitted->inputDefinition(index) : nullptr});
}

void SceneWriter::endList(const Part& parent) {
    if (parent.input->type() == AttrType::Array) return m_lines.closeArray();
    const u32 depth = parent.depth + 1;
    if (parent.unread)
        parent.unread->takeRest([&](const UnreadLines& lines) { writeUnread(lines, depth); });
    m_lines.closeObject(partOf(parent.comments, &Comments::inner), parent.depth);
}

void SceneWriter::end(const Part& part) {
    writeSource(*part.input, part.comments);
    writeNotes(part);
    if (part.isElement)
        m_lines.endElement();
    else
        m_lines.endAttribute(partOf(part.comments, &Comments::trailing));
}

// Marks all inputs around a changed one as changed, so that each is found only once.
bool SceneWriter::isUnchanged(const Input& input) {
    if (m_changed.contains(&input)) return false;
    const Input* found = input.firstChanged();
    for (const Input* at = found; at; at = implOf(at->parent())) {
        m_changed.insert(at);
        if (at == &input) break;
    }
    return !found;
}

void SceneWriter::writeKind(const Input& input, StringIO& out) const {
    const AttrType type = knownType(input.type());
    out.append(attrTypeName(type));
    if (type == AttrType::Array)
        out.append('<').append(attrTypeName(elementTypeOf(input))).append('>');
    writeDataType(heldType(input), out);
}

void SceneWriter::writeDataType(DataType type, StringIO& out) {
    if (type != DataType::Null) out.append('<').append(dataTypeName(type)).append('>');
}

// A link to no node may be a name that was not found; then writes the name.
void SceneWriter::writeOwn(const Input& input, const Comments* comments) {
    const Value& value = input.ownValue();
    const bool isLost = comments && !comments->lostLink.isEmpty() &&
                        value.type() == AttrType::Node && !value.asNode();
    if (isLost)
        m_out.append(comments->lostLink.view());
    else
        writePlain(value);
}

void SceneWriter::writePlain(const Value& value) {
    if (value.type() == AttrType::Node)
        writeLink(value.asNode());
    else
        writeValue(value, m_out, m_workers);
}

void SceneWriter::writeLink(const INode* target) {
    if (!target || target->scene() != m_scene) {
        if (target)
            logWarning("The link to node '%s' is written as none: the node is not of the scene.",
                       target->name().buf());
        m_out.append("null");
        return;
    }
    const String name = target->name();
    if (name.isSimpleCID() && name.view() != "null")
        m_out.append(name.view());
    else
        writeQuoted(name.view(), m_out);
}

void SceneWriter::writeSource(const Input& input, const Comments* comments) {
    const auto* source = implOf(input.source());
    if (!source) {
        if (comments && !comments->lostSource.isEmpty())
            m_lines.beginSource().append(comments->lostSource.view());
        return;
    }
    if (!source->node() || source->node()->scene() != m_scene)
        return logWarning("The connection of '%s' to '%s' is not written: that output is not of "
                          "the scene.",
                          input.path().buf(), source->path().buf());
    m_lines.beginSource().append(source->node()->name().view());
    m_out.append('.').append(source->ownName().view());
    if (const u32 ordinal = ordinalOf(*source); ordinal > 1) m_out.append(':').appendUInt(ordinal);
}

// Counts the outputs of the same node and exact name, up to and including this one.
u32 SceneWriter::ordinalOf(const Output& output) {
    const INode* node = output.node();
    if (node->outputCount() == 1) return 1;
    if (m_numbered.insert(node).second) {
        std::unordered_map<String, u32> met;
        for (u64 i = 0; i < node->outputCount(); ++i) {
            const IOutput* next = node->output(i);
            const u32 ordinal = ++met[implOf(next)->ownName()];
            if (ordinal > 1) m_ordinals[next] = ordinal;
        }
    }
    const auto found = m_ordinals.find(&output);
    return found != m_ordinals.end() ? found->second : 1;
}

void SceneWriter::writeNotes(const Part& part) {
    const Input& input = *part.input;
    const bool areKnown = part.definition && !part.isOwn && haveSameNotes(input, *part.definition);
    const auto* parent = implOf(input.parent());
    const bool isElement = parent && parent->type() == AttrType::Array;
    const DataType declared = knownType(input.declaredType());
    if (!areKnown && declared != DataType::Null && !isElement)
        writeNote(Note::Type).append(' ').append(dataTypeName(declared));
    const Value* stashed = input.isModified() ? nullptr : input.stashed();
    if (stashed) writeNoteValue(Note::Stashed, *stashed, input);
    if (!areKnown && input.isSilent() != (parent && parent->isSilent()))
        writeNote(input.isSilent() ? Note::Silent : Note::Announced);
    if (!areKnown && input.hasReadOnlyMark()) writeNote(Note::ReadOnly);
    const AttrDetails* details = input.details();
    if (isUnchecked(input, part.comments)) writeNote(Note::Unchecked);
    if (part.isAgain) writeNote(Note::Again);
    if (areKnown) return;
    if (details) writeDetails(*details, input);
    if (part.isOwn) writeNote(Note::Own);
}

void SceneWriter::writeDetails(const AttrDetails& details, const Input& input) {
    // The value in a definition's line already states the default.
    if (!m_isDefinition || !(details.defaultValue == input.value()))
        writeNoteValue(Note::Default, details.defaultValue, input);
    writeNoteValue(Note::Minimum, details.minimum, input);
    writeNoteValue(Note::Maximum, details.maximum, input);
    if (!details.unit.isEmpty())
        writeQuoted(details.unit.view(), writeNote(Note::Unit).append(' '));
    writeChoices(details.choices, input);
    writeTranslations(Note::Label, details.labels);
    writeTranslations(Note::Help, details.helps);
}

void SceneWriter::writeChoices(const ds::Vector<Value>& choices, const Input& input) {
    if (choices.empty()) return;
    writeNote(Note::Choices).append(' ');
    for (u64 i = 0; i < choices.size(); ++i) {
        m_out.append(i == 0 ? "[" : ", ");
        writeOfAnyKind(choices[i], input);
    }
    m_out.append(']');
}

void SceneWriter::writeTranslations(Note note, const AttrDetails::Texts& texts) {
    for (const auto& [language, text] : texts) {
        writeQuoted(language.view(), writeNote(note).append(' '));
        writeQuoted(text.view(), m_lines.beginTranslation());
    }
}

void SceneWriter::writeNoteValue(Note note, const Value& value, const Input& input) {
    if (value.isNull()) return;
    writeNote(note).append(' ');
    writeOfAnyKind(value, input);
}

// States the kind of a value if it differs from that of the line.
void SceneWriter::writeOfAnyKind(const Value& value, const Input& input) {
    const bool isBuffer = value.type() == AttrType::Buffer;
    const DataType held = isBuffer ? knownType(value.asBuffer().type()) : DataType::Null;
    if (value.type() != input.type() || held != heldType(input)) {
        m_out.append(attrTypeName(value.type()));
        writeDataType(held, m_out);
        m_out.append(' ');
    }
    writePlain(value);
}

} // namespace qv::kelvo_sdk::impl
