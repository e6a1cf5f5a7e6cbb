#include "kelvo/sdk/impl/scene_text/scene_document_parser.h"

#include "kelvo/sdk/impl/scene_text/scene_notes.h"

#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

// As deep as readers of scene text go.
constexpr u32 kMaxDepth = 200;

AttrType typeNamed(std::string_view name) {
    AttrType type = AttrType::Null;
    return parseAttrType(name, type) ? type : AttrType::Null;
}

} // namespace

// ---- Scenes and nodes ----------------------------------------------------------------------

bool DocumentParser::parseScene() {
    if (!parseHeader()) return false;
    std::string_view leading = commentLines();
    // The blank line behind the header belongs to it.
    if (leading.starts_with('\n')) leading.remove_prefix(1);
    while (!m_lexer.atEnd()) {
        if (!parseNode(m_document.nodes.emplace_back(), leading)) return false;
        leading = commentLines();
    }
    m_document.file.inner = leading;
    return true;
}

bool DocumentParser::parseHeader() {
    m_document.file.leading = commentLines();
    return m_lexer.accept("kelvo scene 1") && endLine(m_document.file.opening);
}

bool DocumentParser::parseNode(DocNode& node, std::string_view leading) {
    DocComments comments;
    comments.leading = leading;
    if (!parseHead(node)) return false;
    if (!parseBody(node.inputs, &node.outputs, comments, 0)) return false;
    if (!endLine(comments.trailing)) return false;
    node.comments = m_document.keep(comments);
    return true;
}

bool DocumentParser::parseHead(DocNode& node) {
    if (!m_lexer.accept("node ")) return false;
    u64 start = m_lexer.offset();
    if (!parseType()) return false;
    node.type = since(start);
    m_lexer.skipBlanks();
    if (m_lexer.accept(':')) {
        m_lexer.skipBlanks();
        start = m_lexer.offset();
        do {
            m_lexer.skipBlanks();
            if (!parseType()) return false;
        } while (m_lexer.accept(','));
        node.bases = since(start);
        m_lexer.skipBlanks();
    }
    if (!m_lexer.accept('"')) return false;
    node.name = m_lexer.identifier();
    if (node.name.empty() || !m_lexer.accept('"')) return false;
    m_lexer.skipBlanks();
    start = m_lexer.offset();
    while (m_lexer.accept('@')) {
        if (m_lexer.identifier().empty()) return false;
        node.flags = since(start);
        m_lexer.skipBlanks();
    }
    return m_lexer.accept('{');
}

bool DocumentParser::parseType() {
    return m_lexer.peek() == '"' ? parseText() : !m_lexer.identifier().empty();
}

// Reads what is behind a '{'. `outputs` is null where there can be none.
bool DocumentParser::parseBody(std::vector<DocAttr>& inputs, std::vector<DocAttr>* outputs,
                               DocComments& comments, u32 depth) {
    if (depth > kMaxDepth || !endLine(comments.opening)) return false;
    for (;;) {
        const std::string_view leading = commentLines();
        if (m_lexer.accept('}')) {
            comments.inner = leading;
            return true;
        }
        DocComments own;
        own.leading = leading;
        const bool isOutput = outputs && m_lexer.accept("output ");
        DocAttr& attr = (isOutput ? *outputs : inputs).emplace_back();
        if (!(isOutput ? parseOutputLine(attr, own) : parseLine(attr, own, depth))) return false;
        attr.comments = m_document.keep(own);
    }
}

// ---- Attributes ----------------------------------------------------------------------------

bool DocumentParser::parseLine(DocAttr& attr, DocComments& comments, u32 depth) {
    if (!parseKind(attr)) return false;
    m_lexer.skipBlanks();
    attr.name = m_lexer.identifier();
    if (attr.name.empty()) return false;
    m_lexer.skipBlanks();
    const bool hasValue = attr.type != AttrType::Null && !attr.isObject();
    if (hasValue && !m_lexer.accept('=')) return false;
    m_lexer.skipBlanks();
    return parseContent(attr, comments, depth) && endLine(comments.trailing);
}

bool DocumentParser::parseOutputLine(DocAttr& attr, DocComments& comments) {
    m_lexer.skipBlanks();
    if (!parseKind(attr)) return false;
    m_lexer.skipBlanks();
    attr.name = m_lexer.identifier();
    m_lexer.skipBlanks();
    const u64 start = m_lexer.offset();
    if (m_lexer.accept(noteName(Note::Again))) attr.notes.push_back({since(start), {}});
    return !attr.name.empty() && endLine(comments.trailing);
}

bool DocumentParser::parseKind(DocAttr& attr) {
    const u64 start = m_lexer.offset();
    const std::string_view name = m_lexer.identifier();
    if (!parseAttrType(name, attr.type)) return false;
    if (m_lexer.accept('<')) {
        attr.elementType = typeNamed(m_lexer.identifier());
        if (!m_lexer.accept('>')) return false;
    }
    attr.kind = since(start);
    return true;
}

bool DocumentParser::parseContent(DocAttr& attr, DocComments& comments, u32 depth) {
    if (attr.isObject()) {
        if (!parseObject(attr, comments, depth)) return false;
    } else if (attr.isArray()) {
        if (!parseArray(attr, depth)) return false;
    } else if (attr.type != AttrType::Null && !parseValue(attr.type, attr.value)) {
        return false;
    }
    return parseSource(attr.source) && parseNotes(attr);
}

bool DocumentParser::parseObject(DocAttr& attr, DocComments& comments, u32 depth) {
    return m_lexer.accept('{') && parseBody(attr.members, nullptr, comments, depth + 1);
}

bool DocumentParser::parseArray(DocAttr& array, u32 depth) {
    if (depth > kMaxDepth || !m_lexer.accept('[')) return false;
    if (m_lexer.accept(']')) return true;
    do {
        m_lexer.skipBlanks();
        if (!parseElement(array.members.emplace_back(), array.elementType, depth + 1)) return false;
    } while (m_lexer.accept(','));
    return m_lexer.accept(']');
}

bool DocumentParser::parseElement(DocAttr& element, AttrType type, u32 depth) {
    DocComments comments;
    element.type = type;
    const bool namesKind =
        type == AttrType::Array || (type == AttrType::Buffer && m_lexer.peek() != '[');
    if (namesKind) {
        if (!parseKind(element) || element.type != type) return false;
        m_lexer.skipBlanks();
    }
    // An element of no kind says so.
    const u64 start = m_lexer.offset();
    if (type == AttrType::Null && !m_lexer.accept("null")) return false;
    if (type == AttrType::Null) element.value = since(start);
    if (!parseContent(element, comments, depth)) return false;
    element.comments = m_document.keep(comments);
    return true;
}

// ---- Lines ---------------------------------------------------------------------------------

bool DocumentParser::endLine(std::string_view& trailing) {
    m_lexer.skipBlanks();
    trailing = comment();
    return m_lexer.accept('\n') || m_lexer.atEnd();
}

std::string_view DocumentParser::comment() {
    return m_lexer.peek() == '#' ? m_lexer.comment() : std::string_view();
}

// Takes the lines of comments and blank lines that stand here, without their indentation.
std::string_view DocumentParser::commentLines() {
    StringIO lines;
    for (;;) {
        m_lexer.skipBlanks();
        if (m_lexer.atEnd() || !m_lexer.atLineEnd()) break;
        lines.append(comment()).append('\n');
        std::ignore = m_lexer.accept('\n');
    }
    return lines.isEmpty() ? std::string_view() : m_document.keep(lines.take());
}

} // namespace qv::kelvo_sdk::impl
