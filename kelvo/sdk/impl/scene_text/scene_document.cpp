#include "kelvo/sdk/impl/scene_text/scene_document.h"

#include "kelvo/sdk/impl/scene_text/scene_document_parser.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

/// Writes the records as scenes write their nodes. Takes no stack for what is nested.
class DocumentWriter {
public:
    explicit DocumentWriter(StringIO& out) : m_lines(out) {}

    void writeNode(const DocNode& node) {
        const DocComments& comments = commentsOf(node.comments);
        m_lines.writeLeading(comments.leading, 0);
        m_lines.beginNode().append(node.type);
        if (!node.bases.empty()) m_lines.beginBase(true).append(node.bases);
        m_lines.beginNodeName().append('"').append(node.name).append('"');
        if (!node.flags.empty()) m_lines.beginNote(node.flags);
        m_lines.beginNodeBody();
        m_lines.writeOpening(comments.opening);
        for (const DocAttr& input : node.inputs)
            writeInput(input);
        for (const DocAttr& output : node.outputs)
            writeOutput(output);
        m_lines.endNode(comments.inner, comments.trailing);
    }

    void writeInput(const DocAttr& input, u32 depth = 1) {
        begin(input, depth, false);
        goOn();
    }

    void writeElement(const DocAttr& element) {
        begin(element, 0, true);
        goOn();
    }

    void writeOutput(const DocAttr& output, u32 depth = 1) {
        const DocComments& comments = commentsOf(output.comments);
        m_lines.writeLeading(comments.leading, depth);
        m_lines.beginOutput(output.type, output.elementType, depth).append(output.kind);
        m_lines.writeName(output.name);
        writeNotes(output);
        m_lines.endAttribute(comments.trailing);
    }

    SceneLines& lines() noexcept { return m_lines; }

private:
    // An input or element whose members are being written.
    struct Part {
        const DocAttr* attr;
        u32 depth;
        bool isElement;
        u64 next = 0;
    };

    void begin(const DocAttr& attr, u32 depth, bool isElement) {
        if (isElement)
            beginElement(attr);
        else
            beginInput(attr, depth);
        const Part part{.attr = &attr, .depth = depth, .isElement = isElement};
        if (!attr.isObject() && !attr.isArray()) return end(part);
        if (attr.isObject()) m_lines.writeOpening(commentsOf(attr.comments).opening);
        m_open.push_back(part);
    }

    void beginInput(const DocAttr& attr, u32 depth) {
        m_lines.writeLeading(commentsOf(attr.comments).leading, depth);
        m_lines.beginInput(attr.type, attr.elementType, depth).append(attr.kind);
        m_lines.writeName(attr.name);
        m_lines.beginInputContent(attr.type).append(attr.value);
    }

    void beginElement(const DocAttr& element) {
        m_lines.beginElement(element.type, element.elementType).append(element.kind);
        if (!element.kind.empty()) m_lines.out().append(' ');
        m_lines.beginElementContent(element.type);
        if (element.type != AttrType::Null) m_lines.out().append(element.value);
    }

    void goOn() {
        while (!m_open.empty()) {
            Part& part = m_open.back();
            if (part.next == part.attr->members.size()) {
                endList();
                continue;
            }
            const DocAttr& next = part.attr->members[part.next++];
            const bool isElement = part.attr->isArray();
            if (isElement) m_lines.separateElement(part.next == 1);
            begin(next, part.depth + (isElement ? 0 : 1), isElement);
        }
    }

    void endList() {
        const Part part = m_open.back();
        m_open.pop_back();
        if (part.attr->isArray())
            m_lines.closeArray();
        else
            m_lines.closeObject(commentsOf(part.attr->comments).inner, part.depth);
        end(part);
    }

    void end(const Part& part) {
        m_lines.endContent();
        if (!part.attr->source.empty()) m_lines.beginSource().append(part.attr->source);
        writeNotes(*part.attr);
        if (part.isElement)
            m_lines.endElement();
        else
            m_lines.endAttribute(commentsOf(part.attr->comments).trailing);
    }

    void writeNotes(const DocAttr& attr) {
        for (const DocNote& note : attr.notes) {
            m_lines.beginNote(note.name);
            if (!note.text.empty()) m_lines.out().append(' ').append(note.text);
        }
    }

    SceneLines m_lines;
    // From the outermost on.
    std::vector<Part> m_open;
};

// Without the end of the last line, which a text alone does not need.
String taken(StringIO& out) {
    if (out.view().ends_with('\n')) out.truncate(out.size() - 1);
    return out.take();
}

} // namespace

const DocComments noComments;

bool isSame(const std::vector<DocAttr>& a, const std::vector<DocAttr>& b) noexcept {
    return std::ranges::equal(a, b,
                              [](const DocAttr& x, const DocAttr& y) { return isSame(x, y); });
}

bool isSame(const DocAttr& a, const DocAttr& b) noexcept {
    return a.kind == b.kind && a.name == b.name && a.value == b.value && a.source == b.source &&
           a.notes == b.notes && commentsOf(a.comments) == commentsOf(b.comments) &&
           isSame(a.members, b.members);
}

bool isSame(const DocNode& a, const DocNode& b) noexcept {
    return a.type == b.type && a.bases == b.bases && a.name == b.name && a.flags == b.flags &&
           commentsOf(a.comments) == commentsOf(b.comments) && isSame(a.inputs, b.inputs) &&
           isSame(a.outputs, b.outputs);
}

bool isSame(const SceneDocument& a, const SceneDocument& b) noexcept {
    return a.file == b.file &&
           std::ranges::equal(a.nodes, b.nodes,
                              [](const DocNode& x, const DocNode& y) { return isSame(x, y); });
}

String notesText(const std::vector<DocNote>& notes) {
    StringIO out;
    for (const DocNote& note : notes) {
        if (!out.isEmpty()) out.append(' ');
        out.append(note.name);
        if (!note.text.empty()) out.append(' ').append(note.text);
    }
    return out.take();
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

void SceneDocument::joinHeader() {
    if (nodes.empty()) {
        if (file.inner.starts_with('\n')) file.inner.remove_prefix(1);
        return;
    }
    DocComments first = commentsOf(nodes.front().comments);
    if (!first.leading.starts_with('\n')) return;
    first.leading.remove_prefix(1);
    nodes.front().comments = keep(first);
}

String SceneDocument::text() const {
    StringIO out;
    DocumentWriter writer(out);
    writer.lines().writeLines(file.leading, 0);
    out.append("kelvo scene 1");
    writer.lines().endLine(file.opening);
    const std::string_view next =
        nodes.empty() ? file.inner : commentsOf(nodes.front().comments).leading;
    const bool isEmpty = nodes.empty() && file.inner.empty();
    if (!isEmpty && !next.starts_with('\n')) out.append('\n');
    for (const DocNode& node : nodes)
        writer.writeNode(node);
    writer.lines().writeLines(file.inner, 0);
    return out.take();
}

String SceneDocument::textOf(const DocNode& node) {
    StringIO out;
    DocumentWriter(out).writeNode(node);
    return taken(out);
}

String SceneDocument::textOf(const DocAttr& attr, bool isOutput) {
    StringIO out;
    DocumentWriter writer(out);
    if (isOutput)
        writer.writeOutput(attr, 0);
    else
        writer.writeInput(attr, 0);
    return taken(out);
}

String SceneDocument::elementText(const DocAttr& element) {
    StringIO out;
    DocumentWriter(out).writeElement(element);
    return out.take();
}

} // namespace qv::kelvo_sdk::impl
