// Reads the comments and blank lines around an attribute, and recovers after an error.

#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <algorithm>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

bool isSpace(char c) noexcept {
    return TextLexer::isBlank(c) || c == '\n';
}

} // namespace

// Takes the comment lines and blank lines in front of the next line; merges successive blank lines.
String SceneParser::commentLines(std::vector<UnreadLines>& unread) {
    m_lexer.skipBlanks();
    if (!m_gaps && !m_lexer.atLineEnd()) return {}; // Most lines have no comments.
    StringIO lines;
    bool afterBlank = false;
    for (;;) {
        m_lexer.skipBlanks();
        if (m_gaps && isUnread()) {
            takeUnread(lines.take(), unread);
            afterBlank = false;
            continue;
        }
        if (m_lexer.atEnd() || !m_lexer.atLineEnd()) break;
        const u64 start = m_lexer.offset();
        const std::string_view comment = m_lexer.comment();
        std::ignore = m_lexer.accept('\n');
        if (!comment.empty()) tellPart(start, m_errors.size(), false);
        if (!comment.empty() || !afterBlank) lines.append(comment).append('\n');
        afterBlank = comment.empty();
    }
    // Blank lines at the end of the text are dropped.
    if (m_lexer.atEnd() && afterBlank) lines.truncate(lines.size() - 1);
    return lines.take();
}

// Skips to the next token inside brackets and keeps the comments on the way.
void SceneParser::skipInside() {
    for (;;) {
        while (isSpace(m_lexer.peek()))
            m_lexer.skip(1);
        if (m_lexer.peek() != '#') return;
        m_insideComments.append(m_lexer.comment()).append('\n');
    }
}

bool SceneParser::endLine(String& trailing) {
    m_lexer.skipBlanks();
    if (const std::string_view comment = m_lexer.comment(); !comment.empty())
        trailing = String(comment);
    if (m_lexer.accept('\n') || m_lexer.atEnd() || m_lexer.peek() == '}') return true;
    // A block without its '}' ends where the next node starts.
    if (m_gaps && m_unclosedAt == m_lexer.offset()) return true;
    return failExpecting("the end of the line");
}

// Takes the comment behind a '{'.
void SceneParser::takeOpening(String& opening) {
    m_lexer.skipBlanks();
    if (const std::string_view comment = m_lexer.comment(); !comment.empty())
        opening = String(comment);
    std::ignore = m_lexer.accept('\n');
}

// Skips the attribute that starts at `lineStart` and has an error here. Follows its brackets,
// unless the next attribute, the end of the body or the next node seems to come before they close.
void SceneParser::recover(u64 lineStart) {
    const u64 faulty = m_lexer.offset();
    u64 brackets = 0;
    u64 braces = 0;
    bool isFirst = true;
    m_lexer.seek(lineStart);
    for (; !m_lexer.atEnd(); m_lexer.skip(1)) {
        const char c = m_lexer.peek();
        const bool isBehind = m_lexer.offset() >= faulty && m_lexer.offset() > lineStart;
        // A line inside of braces never starts like a node, so a '}' is missing.
        if (isFirst && isBehind && (startsNode() || (braces == 0 && startsLine()))) return;
        if (c == '}' && braces == 0 && isBehind) return;
        isFirst = c == '\n' || (isFirst && isSpace(c));
        if (c == '[' || c == '(')
            ++brackets;
        else if ((c == ']' || c == ')') && brackets > 0)
            --brackets;
        else if (c == '{')
            ++braces;
        else if (c == '}' && braces > 0)
            --braces;
        else if (c == '#' || c == '"')
            skipOpaque();
        if (c == '\n' && isBehind && brackets == 0 && braces == 0) break;
    }
    std::ignore = m_lexer.accept('\n');
}

// Moves to the last byte of a comment or quoted text, but not past its line, or of a raw text.
void SceneParser::skipOpaque() {
    if (m_lexer.rest().starts_with(rawMark)) {
        const u64 end = m_lexer.rest().find(rawMark, rawMark.size());
        if (end != std::string_view::npos) return m_lexer.skip(end + rawMark.size() - 1);
    }
    const std::string_view line = m_lexer.rest().substr(0, m_lexer.rest().find('\n'));
    u64 length = line.size();
    for (u64 i = 1; line[0] == '"' && i < line.size(); ++i) {
        if (line[i] == '"') {
            length = i + 1;
            break;
        }
        if (line[i] == '\\') ++i;
    }
    m_lexer.skip(length - 1);
}

// Moves behind the '{' of a node whose head has an error; false when its line has none.
bool SceneParser::skipToBrace() {
    while (!m_lexer.atLineEnd()) {
        if (m_lexer.accept('{')) return true;
        if (m_lexer.peek() == '"') skipOpaque();
        m_lexer.skip(1);
    }
    return false;
}

void SceneParser::skipToNode() {
    while (!m_lexer.atEnd()) {
        m_lexer.skipLine();
        std::ignore = m_lexer.accept('\n');
        m_lexer.skipBlanks();
        if (startsNode()) return;
    }
}

bool SceneParser::startsNode() const noexcept {
    if (m_lexer.peek() != m_form.part[0] || m_lexer.peekIdentifier() != m_form.part) return false;
    const std::string_view behind = m_lexer.rest().substr(m_form.part.size());
    return behind.empty() || TextLexer::isBlank(behind[0]);
}

// Tells whether two words follow each other here, like a kind and a name.
bool SceneParser::startsLine() const noexcept {
    TextLexer ahead(m_lexer);
    if (ahead.identifier().empty()) return false;
    if (ahead.accept('<') && (ahead.identifier().empty() || !ahead.accept('>'))) return false;
    if (!TextLexer::isBlank(ahead.peek())) return false;
    ahead.skipBlanks();
    return TextLexer::startsIdentifier(ahead.peek());
}

// Records a part of the text that ends here.
void SceneParser::tellPart(u64 first, u64 firstError, bool isFaulty) {
    if (m_gaps)
        m_gaps->parts.push_back({first, m_lexer.offset(), firstError, m_errors.size(), isFaulty});
}

bool SceneParser::isUnread() const {
    return std::ranges::binary_search(m_gaps->lines, m_lexer.offset(), {}, &TextLines::first);
}

// Takes lines unchanged, the first one with its indentation.
void SceneParser::takeUnread(String&& leading, std::vector<UnreadLines>& unread) {
    const auto [first, last] =
        *std::ranges::lower_bound(m_gaps->lines, m_lexer.offset(), {}, &TextLines::first);
    m_lexer.seek(last);
    UnreadLines taken;
    taken.leading = std::move(leading);
    taken.lines = wholeLines(m_lexer.text(), first, last);
    unread.push_back(std::move(taken));
}

// Assigns lines omitted since the previous attribute to the attribute just read, which follows
// them.
void SceneParser::placeUnread(Body& body, u32 lastInput, u64 outputs) {
    const bool isInput = body.last != lastInput;
    if (!isInput && m_tree.outputs.size() == outputs) return;
    for (; body.placed < body.unread.size(); ++body.placed) {
        UnreadLines& unread = body.unread[body.placed];
        unread.isOutput = !isInput;
        unread.type = isInput ? m_tree.inputs[body.last].type : m_tree.outputs.back().type;
        unread.before =
            m_tree.names.text(isInput ? m_tree.inputs[body.last].name : m_tree.outputs.back().name);
    }
}

void SceneParser::placeUnread(u64 node) {
    if (node >= m_tree.nodes.size() || m_tree.nodes[node].name == noTreeIndex) return;
    for (; m_placed < m_tree.file.unread.size(); ++m_placed)
        m_tree.file.unread[m_placed].before = m_tree.names.text(m_tree.nodes[node].name);
}

// Tells whether the name at this offset is known to lead nowhere.
bool SceneParser::isLost(u64 offset) const {
    return m_gaps && std::ranges::binary_search(m_gaps->references, offset);
}

void SceneParser::storeComments(u32& extras, Comments&& comments) {
    if (!comments.isEmpty()) m_tree.extrasAt(extras).comments = std::move(comments);
}

bool SceneParser::fail(u64 offset, String message) {
    m_errors.add(offset, m_nodeName, std::move(message));
    return false;
}

bool SceneParser::failExpecting(std::string_view expected) {
    return fail(m_lexer.offset(),
                "Found " + m_lexer.found() + " where " + expected + " was expected.");
}

} // namespace qv::kelvo_sdk::impl
