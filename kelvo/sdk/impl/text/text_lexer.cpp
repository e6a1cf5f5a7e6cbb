#include "kelvo/sdk/impl/text/text_lexer.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/quoted_text.h"

#include "kelvo/base/string_io.h"

#include <algorithm>
#include <cstring>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns 16 for a character that is not a hexadecimal digit.
unsigned hexValue(char c) noexcept {
    if (ascii::isDigit(c)) return static_cast<unsigned>(c - '0');
    const char lower = ascii::toLower(c);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : 16;
}

// Reads the escape at the start of a text; returns its length, 0 for an unknown escape.
u64 escape(std::string_view text, char& out) noexcept {
    constexpr std::string_view letters = "\"\\nrt0";
    constexpr char meanings[] = {'"', '\\', '\n', '\r', '\t', '\0'};
    if (text.size() < 2) return 0;
    if (const u64 index = letters.find(text[1]); index != std::string_view::npos) {
        out = meanings[index];
        return 2;
    }
    if (text.size() < 4 || text[1] != 'x') return 0;
    const unsigned high = hexValue(text[2]);
    const unsigned low = hexValue(text[3]);
    if (high > 15 || low > 15) return 0;
    out = static_cast<char>(high * 16 + low);
    return 4;
}

// Tells whether a byte continues the word that a message shows.
bool continuesWord(char c) noexcept {
    return TextLexer::continuesIdentifier(c) || c == '.' || c == '-' || c == '+';
}

// Removes the first line of a text and returns it without its line break.
std::string_view takeLine(std::string_view& text) noexcept {
    const u64 end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

u64 indentationOf(std::string_view line) noexcept {
    u64 size = 0;
    while (size < line.size() && TextLexer::isBlank(line[size]))
        ++size;
    return size;
}

// Returns the white space that all non-empty lines start with.
std::string_view sharedIndentation(std::string_view lines) noexcept {
    std::string_view shared;
    bool isFirst = true;
    while (!lines.empty()) {
        const std::string_view line = takeLine(lines);
        const std::string_view blanks = line.substr(0, indentationOf(line));
        if (blanks.size() == line.size()) continue;
        if (isFirst) shared = blanks;
        isFirst = false;
        const auto end = std::ranges::mismatch(shared, blanks).in1;
        shared = shared.substr(0, static_cast<u64>(end - shared.begin()));
    }
    return shared;
}

} // namespace

bool TextLexer::skipSpace() noexcept {
    bool met = false;
    while (m_at != m_end) {
        if (isBlank(*m_at) || *m_at == '\n') {
            ++m_at;
        } else if (*m_at == '#') {
            skipLine();
            met = true;
        } else {
            break;
        }
    }
    return met;
}

void TextLexer::skipLine() noexcept {
    const void* end = m_at != m_end ? std::memchr(m_at, '\n', rest().size()) : nullptr;
    m_at = end ? static_cast<const char*>(end) : m_end;
}

std::string_view TextLexer::comment() noexcept {
    if (peek() != '#') return {};
    const char* const start = m_at;
    skipLine();
    return ascii::trim({start, static_cast<u64>(m_at - start)}, false, true);
}

void TextLexer::skipPlain() noexcept {
    while (m_at != m_end && *m_at != '"' && *m_at != '\\' && *m_at != '\n')
        ++m_at;
}

bool TextLexer::quoted(String& out, const char*& problem) {
    ++m_at;
    const char* const start = m_at;
    skipPlain();
    if (peek() != '"') return quotedWithEscapes(start, out, problem);
    out = String(std::string_view(start, static_cast<u64>(m_at - start)));
    ++m_at;
    return true;
}

bool TextLexer::quotedWithEscapes(const char* start, String& out, const char*& problem) {
    StringIO text;
    for (;;) {
        text.append(std::string_view(start, static_cast<u64>(m_at - start)));
        if (m_at == m_end || *m_at == '\n') {
            problem = "the text is not closed: '\"' is expected before the end of the line";
            return false;
        }
        if (accept('"')) break;
        char c = 0;
        const u64 length = escape(rest(), c);
        if (length == 0) {
            problem = R"(an escape is one of \" \\ \n \r \t \0 \xNN)";
            return false;
        }
        text.append(c);
        m_at += length;
        start = m_at;
        skipPlain();
    }
    out = text.take();
    return true;
}

bool TextLexer::raw(String& out) {
    const u64 size = rest().find(rawMark, rawMark.size());
    if (size == std::string_view::npos) return false;
    std::string_view lines = rest().substr(rawMark.size(), size - rawMark.size());
    m_at += size + rawMark.size();
    const u64 lastBreak = lines.rfind('\n');
    if (lastBreak != std::string_view::npos) {
        const std::string_view last = lines.substr(lastBreak + 1);
        if (indentationOf(last) == last.size()) lines = lines.substr(0, lastBreak + 1);
    }
    StringIO text;
    if (const std::string_view first = takeLine(lines); indentationOf(first) != first.size())
        text.append(first).append('\n');
    const std::string_view shared = sharedIndentation(lines);
    while (!lines.empty()) {
        const std::string_view line = takeLine(lines);
        const bool isEmpty = indentationOf(line) == line.size();
        text.append(isEmpty ? std::string_view() : line.substr(shared.size())).append('\n');
    }
    if (!text.isEmpty()) text.truncate(text.size() - 1);
    out = text.take();
    return true;
}

String TextLexer::found() const {
    if (atEnd()) return "the end of the text";
    if (*m_at == '\n' || *m_at == '\r') return "the end of the line";
    const auto byte = static_cast<unsigned char>(*m_at);
    if (byte < ' ' && byte != '\t') return String::format("the byte 0x%02x", byte);
    constexpr u64 longest = 40;
    const std::string_view ahead = rest();
    u64 length = 0;
    while (length < ahead.size() && length <= longest && continuesWord(ahead[length]))
        ++length;
    if (length == 0) length = utf8::sequenceLength(ahead);
    const std::string_view sign = ahead.substr(0, length != 0 ? length : 1);
    StringIO text;
    text.append('\'').append(sign.substr(0, longest));
    return text.append(sign.size() > longest ? "...'" : "'").take();
}

LineCounter::Place LineCounter::placeOf(u64 offset) noexcept {
    if (offset < m_lineStart) *this = LineCounter(m_text);
    for (;;) {
        const u64 end = m_text.find('\n', m_lineStart);
        if (end == std::string_view::npos || end >= offset) break;
        m_lineStart = end + 1;
        ++m_line;
    }
    return {m_line, offset - m_lineStart + 1};
}

} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

QuotedText readQuoted(std::string_view text) {
    QuotedText result;
    impl::TextLexer lexer(text);
    if (lexer.peek() != '"')
        result.problem = "'\"' is expected";
    else
        static_cast<void>(lexer.quoted(result.text, result.problem));
    result.size = lexer.offset();
    return result;
}

} // namespace qv::kelvo_sdk
