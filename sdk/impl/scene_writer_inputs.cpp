#include "sdk/impl/scene_writer.h"

#include "sdk/impl/attr_data.h"
#include "sdk/impl/input.h"
#include "sdk/impl/output.h"
#include "sdk/impl/scene.h"
#include "sdk/impl/value_text.h"
#include "sdk/interfaces/i_node.h"

#include "base/log.h"

// ---- Inputs --------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

// Kinds out of range hold nothing, as Null does.
AttrType knownType(AttrType type) noexcept {
    return static_cast<u32>(type) < attrTypeCount ? type : AttrType::Null;
}

DataType knownType(DataType type) noexcept {
    return static_cast<u32>(type) < dataTypeCount ? type : DataType::Null;
}

void writeDataType(DataType type, StringIO& out) {
    if (type != DataType::Null) out.append('<').append(dataTypeName(type)).append('>');
}

// The element type of the buffer that an input holds.
DataType heldType(const Input& input) noexcept {
    if (input.type() != AttrType::Buffer) return DataType::Null;
    return knownType(input.ownValue().asBuffer().type());
}

// Tells whether an input has other notes than its definition, and no description that says so.
bool lacksNotes(const Input& input, const Input& definition) noexcept {
    return saysNothing(input.details()) && !haveSameNotes(input, definition);
}

// A value outside of its limits is marked unless it was read without a mark; where the limits are
// not known here, the mark stays as it was read.
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

void SceneWriter::writeInput(const Input& input, u32 depth, bool isAgain, const Input* definition) {
    if (m_changedOnly && input.isDefault()) return;
    const bool isObject = definition && input.type() == AttrType::Object;
    const LeftOut members = isObject ? LeftOut::members(input, *definition) : LeftOut();
    const Comments* comments = commentsOf(input);
    const bool isOwn = definition ? members.isOwn() || lacksNotes(input, *definition)
                                  : comments && comments->isOwn;
    if (comments) writeLines(comments->leading, depth);
    indent(depth);
    writeKind(input);
    m_out.append(' ').append(input.ownName().view());
    switch (knownType(input.type())) {
    case AttrType::Null:
        break;
    case AttrType::Object:
        m_out.append(' ');
        writeBody(input, comments, depth, isOwn ? members.none() : members);
        break;
    case AttrType::Array:
        m_out.append(" = ");
        writeArray(input, depth);
        break;
    default:
        m_out.append(" = ");
        writeOwn(input, comments);
        break;
    }
    writeSource(input, comments);
    writeNotes(input, comments, isAgain, definition, isOwn);
    writeTrailing(comments);
}

void SceneWriter::writeKind(const Input& input) {
    const AttrType type = knownType(input.type());
    m_out.append(attrTypeName(type));
    if (type == AttrType::Array)
        m_out.append('<').append(attrTypeName(knownType(input.elementType()))).append('>');
    writeDataType(heldType(input), m_out);
}

void SceneWriter::writeBody(const Input& object, const Comments* comments, u32 depth,
                            const LeftOut& leftOut) {
    m_out.append('{');
    writeOpening(comments);
    UnreadPlaces unread(comments ? &comments->unread : nullptr);
    const auto write = [&](const UnreadLines& lines) { writeUnread(lines, depth + 1); };
    for (u64 i = 0; i < object.inputCount(); ++i) {
        const auto& member = static_cast<const Input&>(*object.input(i));
        unread.takeBefore(member.ownName(), member.type(), false, write);
        if (!leftOut.has(i)) writeInput(member, depth + 1, false, leftOut.inputDefinition(i));
    }
    unread.takeRest(write);
    if (comments) writeLines(comments->inner, depth + 1);
    indent(depth);
    m_out.append('}');
}

void SceneWriter::writeArray(const Input& array, u32 depth) {
    m_out.append('[');
    for (u64 i = 0; i < array.inputCount(); ++i) {
        if (i != 0) m_out.append(", ");
        writeElement(static_cast<const Input&>(*array.input(i)), depth);
    }
    m_out.append(']');
}

void SceneWriter::writeElement(const Input& element, u32 depth) {
    const Comments* comments = commentsOf(element);
    switch (knownType(element.type())) {
    case AttrType::Null:
        m_out.append("null");
        break;
    case AttrType::Object:
        writeBody(element, comments, depth, LeftOut());
        break;
    case AttrType::Array:
        writeKind(element);
        m_out.append(' ');
        writeArray(element, depth);
        break;
    case AttrType::Buffer:
        if (heldType(element) != DataType::Null) {
            writeKind(element);
            m_out.append(' ');
        }
        writePlain(element.ownValue());
        break;
    default:
        writeOwn(element, comments);
        break;
    }
    writeSource(element, comments);
    writeNotes(element, comments, false, nullptr, false);
}

// A link to nothing may be one that was not found.
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
        writeValue(value, m_out);
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
    const auto* source = static_cast<const Output*>(input.source());
    if (!source) {
        if (comments && !comments->lostSource.isEmpty())
            m_out.append(" <- ").append(comments->lostSource.view());
        return;
    }
    if (!source->node() || source->node()->scene() != m_scene)
        return logWarning("The connection of '%s' to '%s' is not written: that output is not of "
                          "the scene.",
                          input.path().buf(), source->path().buf());
    m_out.append(" <- ").append(source->node()->name().view());
    m_out.append('.').append(source->ownName().view());
    if (const u32 ordinal = ordinalOf(*source); ordinal > 1) m_out.append(':').appendUInt(ordinal);
}

// Counts the outputs of the same node and exact name up to this one.
u32 SceneWriter::ordinalOf(const Output& output) {
    const INode* node = output.node();
    if (node->outputCount() == 1) return 1;
    if (m_numbered.insert(node).second) {
        std::unordered_map<String, u32> met;
        for (u64 i = 0; i < node->outputCount(); ++i) {
            const IOutput* next = node->output(i);
            const u32 ordinal = ++met[static_cast<const Output*>(next)->ownName()];
            if (ordinal > 1) m_ordinals[next] = ordinal;
        }
    }
    const auto found = m_ordinals.find(&output);
    return found != m_ordinals.end() ? found->second : 1;
}

void SceneWriter::writeNotes(const Input& input, const Comments* comments, bool isAgain,
                             const Input* definition, bool isOwn) {
    const bool areKnown = definition && !isOwn && haveSameNotes(input, *definition);
    const auto* holder = static_cast<const Input*>(input.parent());
    const bool isElement = holder && holder->type() == AttrType::Array;
    const DataType declared = knownType(input.declaredType());
    if (!areKnown && declared != DataType::Null && !isElement)
        m_out.append(" @type ").append(dataTypeName(declared));
    const Value* stashed = input.isModified() ? nullptr : input.stashed();
    if (stashed) writeNoteValue(" @stashed ", *stashed, input);
    if (!areKnown && input.isSilent() != (holder && holder->isSilent()))
        m_out.append(input.isSilent() ? " @silent" : " @announced");
    if (!areKnown && input.hasReadOnlyMark()) m_out.append(" @readonly");
    const AttrDetails* details = input.details();
    if (isUnchecked(input, comments)) m_out.append(" @unchecked");
    if (isAgain) m_out.append(" @again");
    if (areKnown) return;
    if (details) writeDetails(*details, input);
    if (isOwn) m_out.append(" @own");
}

void SceneWriter::writeDetails(const AttrDetails& details, const Input& input) {
    // A definition's value says it.
    if (!m_isDefinition || !(details.defaultValue == input.value()))
        writeNoteValue(" @default ", details.defaultValue, input);
    writeNoteValue(" @min ", details.minimum, input);
    writeNoteValue(" @max ", details.maximum, input);
    if (!details.unit.isEmpty()) writeQuoted(details.unit.view(), m_out.append(" @unit "));
    for (u64 i = 0; i < details.choices.size(); ++i)
        writeNoteValue(i == 0 ? " @choices [" : ", ", details.choices[i], input);
    if (!details.choices.empty()) m_out.append(']');
    for (const auto& [language, text] : details.labels) {
        writeQuoted(language.view(), m_out.append(" @label "));
        writeQuoted(text.view(), m_out.append(' '));
    }
    for (const auto& [language, text] : details.helps) {
        writeQuoted(language.view(), m_out.append(" @help "));
        writeQuoted(text.view(), m_out.append(' '));
    }
}

// A value of another kind than the line names its own.
void SceneWriter::writeNoteValue(std::string_view note, const Value& value, const Input& input) {
    if (value.isNull()) return;
    m_out.append(note);
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
