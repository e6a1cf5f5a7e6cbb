#include "sdk/impl/scene_document_parser.h"

#include "sdk/impl/utf8.h"

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
    if (m_lexer.accept("@again")) attr.notes.push_back({since(start), {}});
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

// ---- Values and notes ----------------------------------------------------------------------

bool DocumentParser::parseValue(AttrType type, std::string_view& value) {
    const u64 start = m_lexer.offset();
    if (m_lexer.peek() == '"') {
        if (!parseText()) return false;
    } else if (type == AttrType::Buffer) {
        const u64 length = m_lexer.rest().find(']');
        if (m_lexer.peek() != '[' || length == std::string_view::npos) return false;
        m_lexer.skip(length + 1);
    } else {
        u64 open = 0;
        for (char c = m_lexer.peek(); c != '\0' && c != '\n'; c = m_lexer.peek()) {
            if (open == 0 && (c == ' ' || c == ',' || c == ']' || c == '}' || c == ')')) break;
            open += c == '(' ? 1 : c == ')' ? ~u64{0} : 0;
            m_lexer.skip(1);
        }
        if (open != 0) return false;
    }
    value = since(start);
    return !value.empty();
}

bool DocumentParser::parseText() {
    const std::string_view rest = m_lexer.rest();
    if (!rest.starts_with('"')) return false;
    for (u64 i = 1; i < rest.size() && rest[i] != '\n'; ++i) {
        if (rest[i] == '\\')
            ++i;
        else if (rest[i] == '"') {
            m_lexer.skip(i + 1);
            return true;
        }
    }
    return false;
}

bool DocumentParser::parseSource(std::string_view& source) {
    m_lexer.skipBlanks();
    if (!m_lexer.accept("<-")) return true;
    m_lexer.skipBlanks();
    return parseOutputPath(source);
}

// Reads "node.output", or "node.output:2".
bool DocumentParser::parseOutputPath(std::string_view& path) {
    const u64 start = m_lexer.offset();
    if (m_lexer.identifier().empty() || !m_lexer.accept('.') || m_lexer.identifier().empty())
        return false;
    if (m_lexer.accept(':'))
        while (ascii::isDigit(m_lexer.peek()))
            m_lexer.skip(1);
    path = since(start);
    return true;
}

bool DocumentParser::parseNotes(DocAttr& attr) {
    for (m_lexer.skipBlanks(); m_lexer.peek() == '@'; m_lexer.skipBlanks())
        if (!parseNote(attr.notes.emplace_back(), attr.type)) return false;
    return true;
}

bool DocumentParser::parseNote(DocNote& note, AttrType type) {
    const u64 start = m_lexer.offset();
    m_lexer.skip(1);
    const std::string_view word = m_lexer.identifier();
    const bool isByLanguage = word == "label" || word == "help";
    if (isByLanguage) {
        m_lexer.skipBlanks();
        if (!parseText()) return false;
    }
    note.name = since(start);
    m_lexer.skipBlanks();
    const u64 textStart = m_lexer.offset();
    if (word == "silent" || word == "announced" || word == "readonly" || word == "unchecked" ||
        word == "again" || word == "own")
        return true;
    bool isRead = false;
    if (isByLanguage || word == "unit")
        isRead = parseText();
    else if (word == "type")
        isRead = !m_lexer.identifier().empty();
    else if (word == "choices")
        isRead = parseChoices(type);
    else if (word == "stashed" || word == "default" || word == "min" || word == "max")
        isRead = parseNoteValue(type);
    note.text = since(textStart);
    return isRead;
}

// Reads a value of the kind, or one that names its kind first.
bool DocumentParser::parseNoteValue(AttrType type) {
    std::string_view value;
    DocAttr own;
    const u64 start = m_lexer.offset();
    if (parseKind(own) && m_lexer.accept(' ') && m_lexer.peek() != '@' && !m_lexer.atLineEnd())
        return parseValue(own.type, value);
    m_lexer.seek(start);
    return parseValue(type, value);
}

bool DocumentParser::parseChoices(AttrType type) {
    if (!m_lexer.accept('[')) return false;
    if (m_lexer.accept(']')) return true;
    do {
        m_lexer.skipBlanks();
        if (!parseNoteValue(type)) return false;
    } while (m_lexer.accept(','));
    return m_lexer.accept(']');
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

// ---- Alone ---------------------------------------------------------------------------------

bool DocumentParser::isDone() {
    return m_lexer.atEnd() && utf8::firstFault(m_lexer.text()) == m_lexer.text().size();
}

std::optional<DocNode> DocumentParser::loneNode() {
    DocNode node;
    const std::string_view leading = commentLines();
    if (!parseNode(node, leading) || !isDone()) return {};
    return node;
}

std::optional<DocAttr> DocumentParser::loneInput() {
    DocAttr attr;
    DocComments comments;
    comments.leading = commentLines();
    if (!parseLine(attr, comments, 0) || !isDone()) return {};
    attr.comments = m_document.keep(comments);
    return attr;
}

std::optional<DocAttr> DocumentParser::loneOutput() {
    DocAttr attr;
    DocComments comments;
    comments.leading = commentLines();
    if (!m_lexer.accept("output ") || !parseOutputLine(attr, comments) || !isDone()) return {};
    attr.comments = m_document.keep(comments);
    return attr;
}

std::optional<DocAttr> DocumentParser::loneElement(AttrType elementType) {
    DocAttr element;
    if (!parseElement(element, elementType, 0) || !isDone()) return {};
    return element;
}

std::optional<std::vector<DocNote>> DocumentParser::loneNotes(AttrType type) {
    DocAttr attr;
    attr.type = type;
    if (!parseNotes(attr) || !isDone()) return {};
    return std::move(attr.notes);
}

bool DocumentParser::loneKind(DocAttr& attr) {
    DocAttr read;
    if (!parseKind(read) || !isDone()) return false;
    attr.type = read.type;
    attr.elementType = read.elementType;
    attr.kind = read.kind;
    return true;
}

bool DocumentParser::isValue(AttrType type) {
    std::string_view value;
    return parseValue(type, value) && isDone();
}

bool DocumentParser::isSource() {
    std::string_view source;
    return parseOutputPath(source) && isDone();
}

bool DocumentParser::isNote(const DocNote& note, AttrType type) {
    DocNote read;
    if (m_lexer.peek() != '@' || !parseNote(read, type)) return false;
    m_lexer.skipBlanks();
    return isDone() && read.name == note.name && read.text == note.text;
}

} // namespace qv::kelvo_sdk::impl
