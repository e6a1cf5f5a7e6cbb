#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_node.h"

// ---- Nodes ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

void writeType(const String& type, StringIO& out) {
    if (type.isSimpleCID())
        out.append(type.view());
    else
        writeQuoted(type.view(), out);
}

// Tells whether the head says what text of a definition's node cannot leave unsaid.
bool hasOwnHead(const INode& node, const Node& definition) {
    const StringVector bases = node.bases();
    return (bases.empty() && !definition.bases().empty()) ||
           (definition.isInternal() && !node.isInternal());
}

// Tells which attributes of a list have the kind of an earlier one of their name. Few are compared
// one by one.
template<typename Attribute>
class Repeats {
public:
    bool add(const Attribute& attribute) {
        const u64 hash = attribute.nameHash();
        for (u64 i = 0; i < m_count; ++i)
            if (m_hashes[i] == hash) return repeats(*m_few[i], attribute);
        if (m_count == few) {
            const auto [first, isNew] = m_many.try_emplace(hash, &attribute);
            return !isNew && repeats(*first->second, attribute);
        }
        m_hashes[m_count] = hash;
        m_few[m_count++] = &attribute;
        return false;
    }

private:
    static constexpr u64 few = 16;

    static bool repeats(const Attribute& first, const Attribute& later) {
        return first.type() == later.type() && first.ownName().equalsNoCase(later.ownName());
    }

    u64 m_count = 0;
    u64 m_hashes[few];
    const Attribute* m_few[few];
    std::unordered_map<u64, const Attribute*> m_many;
};

} // namespace

SceneWriter::SceneWriter(const Scene* scene, StringIO& out, bool changedOnly,
                         std::vector<TextMark>* marks)
    : m_out(out),
      m_lines(out, marks),
      m_scene(scene),
      m_comments(scene && !scene->comments().empty() ? &scene->comments() : nullptr),
      m_changedOnly(changedOnly) {}

SceneWriter::SceneWriter(const SceneComments& comments, StringIO& out)
    : m_out(out),
      m_lines(out),
      m_scene(nullptr),
      m_comments(comments.empty() ? nullptr : &comments),
      m_changedOnly(false),
      m_isDefinition(true) {}

void SceneWriter::writeNode(const INode& node) {
    const Node* definition = m_scene ? m_scene->findType(node.type()) : nullptr;
    const OmittedAttributes inputs =
        definition ? OmittedAttributes::inputs(node, *definition) : OmittedAttributes();
    const OmittedAttributes outputs =
        definition ? OmittedAttributes::outputs(node, *definition) : OmittedAttributes();
    const Comments* comments = commentsOf(node);
    const bool isOwn = definition
                           ? inputs.isOwn() || outputs.isOwn() || hasOwnHead(node, *definition)
                           : comments && comments->isOwn;
    m_lines.writeLeading(partOf(comments, &Comments::leading), 0);
    writeHead(node, isOwn ? nullptr : definition, isOwn);
    m_lines.writeOpening(partOf(comments, &Comments::opening));
    UnreadPlaces unread(comments ? &comments->unread : nullptr);
    writeInputs(node, isOwn ? inputs.none() : inputs, unread);
    writeOutputs(node, isOwn ? outputs.none() : outputs, unread);
    unread.takeRest([this](const UnreadLines& lines) { writeUnread(lines, 1); });
    m_lines.endNode(partOf(comments, &Comments::inner), partOf(comments, &Comments::trailing));
}

// Needs a definition whose bases are not to be named.
void SceneWriter::writeHead(const INode& node, const Node* definition, bool isOwn) {
    writeType(node.type(), m_lines.beginNode());
    const StringVector bases = node.bases();
    const bool areKnown = definition && bases == definition->bases();
    for (u64 i = 0; i < bases.size() && !areKnown; ++i)
        writeType(bases[i], m_lines.beginBase(i == 0));
    writeQuoted(node.name().view(), m_lines.beginNodeName());
    if (node.isAbstract()) writeNote(Note::Abstract);
    if (node.isInternal()) writeNote(Note::Internal);
    if (isOwn) writeNote(Note::Own);
    m_lines.beginNodeBody();
}

void SceneWriter::writeInputs(const INode& node, const OmittedAttributes& omitted,
                              UnreadPlaces& unread) {
    Repeats<Input> repeats;
    for (u64 i = 0; i < node.inputCount(); ++i) {
        const auto& input = implOf(*node.input(i));
        const bool isAgain = repeats.add(input);
        unread.takeBefore(input.ownName(), input.type(), false,
                          [this](const UnreadLines& lines) { writeUnread(lines, 1); });
        if (!omitted.has(i)) writeInput(input, 1, isAgain, omitted.inputDefinition(i));
    }
}

void SceneWriter::writeOutputs(const INode& node, const OmittedAttributes& omitted,
                               UnreadPlaces& unread) {
    Repeats<Output> repeats;
    for (u64 i = 0; i < node.outputCount(); ++i) {
        const auto& output = implOf(*node.output(i));
        const bool isAgain = repeats.add(output);
        unread.takeBefore(output.ownName(), output.type(), true,
                          [this](const UnreadLines& lines) { writeUnread(lines, 1); });
        if (!omitted.has(i)) writeOutput(output, isAgain);
    }
}

// The value is produced anew and is no part of the text.
void SceneWriter::writeOutput(const Output& output, bool isAgain) {
    const Comments* comments = commentsOf(output);
    m_lines.writeLeading(partOf(comments, &Comments::leading), 1);
    const AttrType type = knownType(output.type());
    m_lines.beginOutput(type, AttrType::Null, 1).append(attrTypeName(type));
    if (type == AttrType::Buffer) writeDataType(knownType(output.dataType()), m_out);
    m_lines.writeName(output.ownName().view());
    if (isAgain) writeNote(Note::Again);
    m_lines.endAttribute(partOf(comments, &Comments::trailing));
}

void SceneWriter::writeUnread(const UnreadLines& unread, u32 depth) {
    m_lines.writeLines(unread.leading.view(), depth);
    m_lines.writeUnread(unread.lines.view());
}

} // namespace qv::kelvo_sdk::impl
