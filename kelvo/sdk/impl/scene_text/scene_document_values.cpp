#include "kelvo/sdk/impl/scene_text/scene_document_parser.h"

#include "kelvo/sdk/impl/scene_text/scene_notes.h"

#include "kelvo/base/utf8.h"

#include <tuple>

namespace qv::kelvo_sdk::impl {

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
    std::ignore = m_lexer.identifier();
    const NoteRule* rule = findInputNote(since(start));
    if (!rule) return false;
    if (rule->content == NoteContent::Translation) {
        m_lexer.skipBlanks();
        if (!parseText()) return false;
    }
    note.name = since(start);
    m_lexer.skipBlanks();
    const u64 textStart = m_lexer.offset();
    if (rule->content == NoteContent::Nothing) return true;
    const bool isRead = parseNoteText(*rule, type);
    note.text = since(textStart);
    return isRead;
}

bool DocumentParser::parseNoteText(const NoteRule& rule, AttrType type) {
    switch (rule.content) {
    case NoteContent::ElementType:
        return !m_lexer.identifier().empty();
    case NoteContent::Value:
        return parseNoteValue(type);
    case NoteContent::ValueList:
        return parseChoices(type);
    default:
        return parseText();
    }
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
