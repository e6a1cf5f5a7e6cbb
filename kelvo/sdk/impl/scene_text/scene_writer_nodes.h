// The definitions of the functions of `TextWriter` that write nodes; include them where a writer is
// instantiated.
#pragma once

#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/value/value_text.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

// Tells which attributes of a list repeat the name and kind of an earlier one. Compares short lists
// one by one.
template<typename Attribute>
class TextRepeats {
public:
    bool add(Attribute attribute) {
        const u64 hash = attribute->nameHash();
        for (u64 i = 0; i < m_count; ++i)
            if (m_hashes[i] == hash) return repeats(m_few[i], attribute);
        if (m_count == few) {
            const auto [first, isNew] = m_many.try_emplace(hash, attribute);
            return !isNew && repeats(first->second, attribute);
        }
        m_hashes[m_count] = hash;
        m_few[m_count++] = attribute;
        return false;
    }

private:
    static constexpr u64 few = 16;

    static bool repeats(Attribute first, Attribute later) {
        return first->type() == later->type() && first->ownName().equalsNoCase(later->ownName());
    }

    u64 m_count = 0;
    u64 m_hashes[few];
    Attribute m_few[few];
    std::unordered_map<u64, Attribute> m_many;
};

// ---- The text as a whole -------------------------------------------------------------------

template<typename Source>
void TextWriter<Source>::writeAll() {
    const Comments& file = m_source.file();
    m_lines.writeLines(file.leading.view(), 0);
    m_out.append("kelvo scene 1");
    m_lines.endLine(file.opening.view());
    const bool isEmpty = !m_source.firstNode() && file.inner.isEmpty() && file.unread.empty();
    const UnreadNodes<Node> unread = m_source.unreadNodes();
    // Appends a blank line, unless the following text starts with one.
    if (!isEmpty && !linesBehindHeader(unread).starts_with('\n')) m_out.append('\n');
    m_source.forEachNode([&](Node node) {
        for (const UnreadLines* lines : unread.before(node))
            writeUnread(*lines, 0);
        writeNode(node);
    });
    for (const UnreadLines* lines : unread.before({}))
        writeUnread(*lines, 0);
    m_lines.writeLines(file.inner.view(), 0);
}

// Returns the first comment lines behind the header.
template<typename Source>
std::string_view TextWriter<Source>::linesBehindHeader(const UnreadNodes<Node>& unread) const {
    const Node first = m_source.firstNode();
    const auto lines = unread.before(first);
    if (!lines.empty()) return lines.front()->leading.view();
    return first ? partOf(m_source.commentsOf(first), &Comments::leading)
                 : m_source.file().inner.view();
}

// ---- Nodes ---------------------------------------------------------------------------------

template<typename Source>
void TextWriter<Source>::writeType(const String& type, StringIO& out) {
    if (type.isSimpleCID())
        out.append(type.view());
    else
        writeQuoted(type.view(), out);
}

// Tells whether the node lacks bases or a flag of its definition, so that the text must be
// complete.
template<typename Source>
bool TextWriter<Source>::hasOwnHead(Node node, Node definition) {
    const StringVector bases = node->bases();
    return (bases.empty() && !definition->bases().empty()) ||
           (definition->isInternal() && !node->isInternal());
}

template<typename Source>
void TextWriter<Source>::writeNode(Node node) {
    const Node definition = m_source.definitionOf(node);
    const Omitted inputs = definition ? Omitted::inputs(node, definition) : Omitted();
    const Omitted outputs = definition ? Omitted::outputs(node, definition) : Omitted();
    const Comments* comments = m_source.commentsOf(node);
    const bool isOwn = definition
                           ? inputs.isOwn() || outputs.isOwn() || hasOwnHead(node, definition)
                           : comments && comments->isOwn;
    m_lines.writeLeading(partOf(comments, &Comments::leading), 0);
    writeHead(node, isOwn ? Node() : definition, isOwn);
    m_lines.writeOpening(partOf(comments, &Comments::opening));
    UnreadPlaces unread(comments ? &comments->unread : nullptr);
    writeInputs(node, isOwn ? inputs.none() : inputs, unread);
    writeOutputs(node, isOwn ? outputs.none() : outputs, unread);
    unread.takeRest([this](const UnreadLines& lines) { writeUnread(lines, 1); });
    m_lines.endNode(partOf(comments, &Comments::inner), partOf(comments, &Comments::trailing));
}

// Needs a definition if its bases are to be omitted.
template<typename Source>
void TextWriter<Source>::writeHead(Node node, Node definition, bool isOwn) {
    writeType(node->type(), m_lines.beginNode());
    const StringVector bases = node->bases();
    const bool areKnown = definition && bases == definition->bases();
    for (u64 i = 0; i < bases.size() && !areKnown; ++i)
        writeType(bases[i], m_lines.beginBase(i == 0));
    writeQuoted(node->name().view(), m_lines.beginNodeName());
    if (node->isAbstract()) writeNote(Note::Abstract);
    if (node->isInternal()) writeNote(Note::Internal);
    if (isOwn) writeNote(Note::Own);
    m_lines.beginNodeBody();
}

template<typename Source>
void TextWriter<Source>::writeInputs(Node node, const Omitted& omitted, UnreadPlaces& unread) {
    TextRepeats<Input> repeats;
    const auto inputs = m_source.inputsOf(node);
    for (u64 i = 0; i < inputs.size(); ++i) {
        const Input input = inputs[i];
        const bool isAgain = repeats.add(input);
        unread.takeBefore(input->ownName(), input->type(), false,
                          [this](const UnreadLines& lines) { writeUnread(lines, 1); });
        if (!omitted.has(i)) writeInput(input, 1, isAgain, omitted.inputDefinition(i));
    }
}

template<typename Source>
void TextWriter<Source>::writeOutputs(Node node, const Omitted& omitted, UnreadPlaces& unread) {
    TextRepeats<Output> repeats;
    const auto outputs = m_source.outputsOf(node);
    for (u64 i = 0; i < outputs.size(); ++i) {
        const Output output = outputs[i];
        const bool isAgain = repeats.add(output);
        unread.takeBefore(output->ownName(), output->type(), true,
                          [this](const UnreadLines& lines) { writeUnread(lines, 1); });
        if (!omitted.has(i)) writeOutput(output, isAgain);
    }
}

// Writes no value: outputs are evaluated again.
template<typename Source>
void TextWriter<Source>::writeOutput(Output output, bool isAgain) {
    const Comments* comments = m_source.commentsOf(output);
    m_lines.writeLeading(partOf(comments, &Comments::leading), 1);
    const AttrType type = knownType(output->type());
    m_lines.beginOutput(type, AttrType::Null, 1).append(attrTypeName(type));
    if (type == AttrType::Buffer) writeDataType(knownType(output->dataType()), m_out);
    m_lines.writeName(output->ownName().view());
    if (isAgain) writeNote(Note::Again);
    m_lines.endAttribute(partOf(comments, &Comments::trailing));
}

template<typename Source>
void TextWriter<Source>::writeUnread(const UnreadLines& unread, u32 depth) {
    m_lines.writeLines(unread.leading.view(), depth);
    m_lines.writeUnread(unread.lines.view());
}

} // namespace qv::kelvo_sdk::impl
