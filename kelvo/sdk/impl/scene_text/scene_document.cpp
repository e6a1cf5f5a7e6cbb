#include "kelvo/sdk/impl/scene_text/scene_document.h"

#include "kelvo/sdk/impl/scene_text/scene_document_parser.h"

namespace qv::kelvo_sdk::impl {

namespace {

/// Writes the records as scenes write theirs.
class Writer {
public:
    explicit Writer(StringIO& out) : m_out(out) {}

    void writeNode(const DocNode& node) {
        const DocComments& comments = commentsOf(node.comments);
        writeLines(comments.leading, 0);
        m_out.append("node ").append(node.type);
        if (!node.bases.empty()) m_out.append(" : ").append(node.bases);
        m_out.append(" \"").append(node.name).append('"');
        if (!node.flags.empty()) m_out.append(' ').append(node.flags);
        m_out.append(" {");
        endLine(comments.opening);
        for (const DocAttr& input : node.inputs)
            writeAttr(input, 1, false);
        for (const DocAttr& output : node.outputs)
            writeAttr(output, 1, true);
        writeLines(comments.inner, 1);
        m_out.append('}');
        endLine(comments.trailing);
    }

    void writeAttr(const DocAttr& attr, u64 depth, bool isOutput) {
        const DocComments& comments = commentsOf(attr.comments);
        writeLines(comments.leading, depth);
        indent(depth);
        if (isOutput) m_out.append("output ");
        m_out.append(attr.kind).append(' ').append(attr.name);
        if (attr.isObject())
            m_out.append(' ');
        else if (!isOutput && attr.type != AttrType::Null)
            m_out.append(" = ");
        writeContent(attr, depth);
        endLine(comments.trailing);
    }

    void writeElement(const DocAttr& element, u64 depth) {
        if (!element.kind.empty()) m_out.append(element.kind).append(' ');
        writeContent(element, depth);
    }

    void writeLines(std::string_view lines, u64 depth) {
        while (!lines.empty()) {
            const std::string_view line = lines.substr(0, lines.find('\n') + 1);
            if (line.size() > 1) indent(depth);
            m_out.append(line);
            lines.remove_prefix(line.size());
        }
    }

    void endLine(std::string_view comment) {
        if (!comment.empty()) m_out.append(' ').append(comment);
        m_out.append('\n');
    }

private:
    void indent(u64 depth) { m_out.appendRepeated(' ', 4 * depth); }

    // Recursion ends soon: the depth of what is parsed is bounded.
    void writeContent(const DocAttr& attr, u64 depth) {
        if (attr.isObject())
            writeBody(attr, depth);
        else if (attr.isArray())
            writeArray(attr, depth);
        else
            m_out.append(attr.value);
        if (!attr.source.empty()) m_out.append(" <- ").append(attr.source);
        for (const DocNote& note : attr.notes) {
            m_out.append(' ').append(note.name);
            if (!note.text.empty()) m_out.append(' ').append(note.text);
        }
    }

    void writeBody(const DocAttr& object, u64 depth) {
        const DocComments& comments = commentsOf(object.comments);
        m_out.append('{');
        endLine(comments.opening);
        for (const DocAttr& member : object.members)
            writeAttr(member, depth + 1, false);
        writeLines(comments.inner, depth + 1);
        indent(depth);
        m_out.append('}');
    }

    void writeArray(const DocAttr& array, u64 depth) {
        m_out.append('[');
        for (const DocAttr& element : array.members) {
            if (&element != array.members.data()) m_out.append(", ");
            writeElement(element, depth);
        }
        m_out.append(']');
    }

    StringIO& m_out;
};

// Without the end of the last line, which a text alone does not need.
String taken(StringIO& out) {
    if (out.view().ends_with('\n')) out.truncate(out.size() - 1);
    return out.take();
}

} // namespace

const DocComments noComments;

String notesText(const std::vector<DocNote>& notes) {
    StringIO out;
    for (const DocNote& note : notes) {
        if (!out.isEmpty()) out.append(' ');
        out.append(note.name);
        if (!note.text.empty()) out.append(' ').append(note.text);
    }
    return out.take();
}

bool SceneDocument::parse(String text) {
    return DocumentParser(*this, keep(std::move(text))).parseScene();
}

std::optional<DocNode> SceneDocument::parseNode(String text) {
    return DocumentParser(*this, keep(std::move(text))).loneNode();
}

std::optional<DocAttr> SceneDocument::parseInput(String text) {
    return DocumentParser(*this, keep(std::move(text))).loneInput();
}

std::optional<DocAttr> SceneDocument::parseOutput(String text) {
    return DocumentParser(*this, keep(std::move(text))).loneOutput();
}

std::optional<DocAttr> SceneDocument::parseElement(String text, AttrType elementType) {
    return DocumentParser(*this, keep(std::move(text))).loneElement(elementType);
}

bool SceneDocument::setKind(DocAttr& attr, String text) {
    return DocumentParser(*this, keep(std::move(text))).loneKind(attr);
}

std::optional<std::vector<DocNote>> SceneDocument::parseNotes(String text, AttrType type) {
    return DocumentParser(*this, keep(std::move(text))).loneNotes(type);
}

bool SceneDocument::isValue(std::string_view text, AttrType type) {
    return DocumentParser::isValue(text, type);
}

bool SceneDocument::isSource(std::string_view text) {
    SceneDocument none;
    return DocumentParser(none, text).isSource();
}

bool SceneDocument::isNote(const DocNote& note, AttrType type) {
    SceneDocument none;
    const std::string text = std::string(note.name) + ' ' + std::string(note.text);
    return DocumentParser(none, text).isNote(note, type);
}

std::string_view SceneDocument::keep(String text) {
    return m_kept.emplace_back(std::move(text)).view();
}

const DocComments* SceneDocument::keep(const DocComments& comments) {
    return comments.isEmpty() ? nullptr : &m_comments.emplace_back(comments);
}

String SceneDocument::text() const {
    StringIO out;
    Writer writer(out);
    writer.writeLines(file.leading, 0);
    out.append("kelvo scene 1");
    writer.endLine(file.opening);
    const std::string_view next =
        nodes.empty() ? file.inner : commentsOf(nodes.front().comments).leading;
    const bool isEmpty = nodes.empty() && file.inner.empty();
    if (!isEmpty && !next.starts_with('\n')) out.append('\n');
    for (const DocNode& node : nodes)
        writer.writeNode(node);
    writer.writeLines(file.inner, 0);
    return out.take();
}

String SceneDocument::textOf(const DocNode& node) {
    StringIO out;
    Writer(out).writeNode(node);
    return taken(out);
}

String SceneDocument::textOf(const DocAttr& attr, bool isOutput) {
    StringIO out;
    Writer(out).writeAttr(attr, 0, isOutput);
    return taken(out);
}

String SceneDocument::elementText(const DocAttr& element) {
    StringIO out;
    Writer(out).writeElement(element, 0);
    return out.take();
}

} // namespace qv::kelvo_sdk::impl
