#include "tools/kelvo/text_columns.h"

#include "kelvo/base/utf8.h"

#include <algorithm>
#include <array>

namespace qv::kelvo_tool {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr std::array<Range, 11> wide{{{0x1100, 0x115f},
                                      {0x2e80, 0x303e},
                                      {0x3041, 0xa4cf},
                                      {0xa960, 0xa97f},
                                      {0xac00, 0xd7a3},
                                      {0xf900, 0xfaff},
                                      {0xfe30, 0xfe6f},
                                      {0xff00, 0xff60},
                                      {0xffe0, 0xffe6},
                                      {0x1f300, 0x1faff},
                                      {0x20000, 0x3fffd}}};
constexpr std::array<Range, 4> marks{
    {{0x300, 0x36f}, {0x200b, 0x200d}, {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}}};
// The upper control characters, and characters that change the direction of writing.
constexpr std::array<Range, 4> commands{
    {{0x80, 0x9f}, {0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}}};

template<std::size_t Count>
bool isIn(const std::array<Range, Count>& ranges, char32_t c) noexcept {
    return std::ranges::any_of(
        ranges, [c](const Range& range) { return c >= range.first && c <= range.last; });
}

// Decodes the character in the first `length` bytes of a text.
char32_t decoded(std::string_view text, u64 length) noexcept {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (length == 1) return lead;
    char32_t c = lead & (0xffu >> (length + 1));
    for (u64 i = 1; i < length; ++i)
        c = c << 6 | (static_cast<unsigned char>(text[i]) & 0x3fu);
    return c;
}

struct Character {
    std::size_t bytes;
    u64 columns;
};

// Returns the first character of a text that is not empty.
Character firstOf(std::string_view text) noexcept {
    const u64 length = utf8::sequenceLength(text);
    const char32_t c = length == 0 ? U'?' : decoded(text, length);
    const u64 columns = isIn(marks, c) ? 0 : isIn(wide, c) ? 2 : 1;
    return {std::max<u64>(length, 1), columns};
}

bool isBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r';
}

/// Fills lines with words.
class Lines {
public:
    Lines(StringIO& out, const Wrapping& wrapping) : m_out(out), m_wrapping(wrapping) {}

    void add(std::string_view line) {
        const u64 start = m_words;
        while (!line.empty()) {
            const auto end = std::ranges::find_if(line, isBlank);
            const auto length = static_cast<std::size_t>(end - line.begin());
            if (length != 0) addWord(line.substr(0, length));
            line.remove_prefix(std::min(length + 1, line.size()));
        }
        if (m_words == start) return endParagraph();
        m_isOpen = false;
        m_out.append('\n');
    }
    void finish() {
        if (m_words == 0 && !m_wrapping.first.empty()) open();
        if (m_isOpen) m_out.append('\n');
    }

private:
    void addWord(std::string_view word) {
        const u64 columns = columnsOf(word);
        if (m_isOpen && m_column + 1 + columns > m_wrapping.width) {
            m_out.append('\n');
            m_isOpen = false;
        }
        if (m_isOpen)
            addBlank();
        else
            open();
        appendPlain(m_out, word);
        m_column += columns;
        ++m_words;
    }

    void addBlank() {
        m_out.append(' ');
        ++m_column;
    }

    void open() {
        if (m_isGap) m_out.append('\n');
        m_isGap = false;
        if (m_words == 0 && !m_wrapping.first.empty()) {
            appendPlain(m_out, m_wrapping.first);
            m_column = columnsOf(m_wrapping.first);
        } else {
            m_out.appendRepeated(' ', m_wrapping.indent);
            m_column = m_wrapping.indent;
        }
        m_isOpen = true;
    }

    void endParagraph() { m_isGap = m_words != 0; }

    StringIO& m_out;
    const Wrapping& m_wrapping;
    u64 m_column = 0;
    u64 m_words = 0;
    bool m_isOpen = false;
    bool m_isGap = false;
};

} // namespace

u64 columnsOf(std::string_view text) noexcept {
    u64 columns = 0;
    while (!text.empty()) {
        const Character next = firstOf(text);
        columns += next.columns;
        text.remove_prefix(next.bytes);
    }
    return columns;
}

std::size_t bytesWithin(std::string_view text, u64 columns) noexcept {
    std::size_t bytes = 0;
    while (bytes < text.size()) {
        const Character next = firstOf(text.substr(bytes));
        if (next.columns > columns) break;
        columns -= next.columns;
        bytes += next.bytes;
    }
    return bytes;
}

bool isPlainText(std::string_view text) noexcept {
    return utf8::firstFault(text) == text.size();
}

void appendPlain(StringIO& out, std::string_view text) {
    while (!text.empty()) {
        const u64 length = utf8::sequenceLength(text);
        const char32_t c = length == 0 ? U'\0' : decoded(text, length);
        if (c < 0x20 || c == 0x7f || isIn(commands, c))
            out.append('?');
        else
            out.append(text.substr(0, length));
        text.remove_prefix(std::max<u64>(length, 1));
    }
}

void appendWrapped(StringIO& out, std::string_view text, const Wrapping& wrapping) {
    Lines lines(out, wrapping);
    for (;;) {
        const std::size_t end = text.find('\n');
        lines.add(text.substr(0, end));
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    lines.finish();
}

} // namespace qv::kelvo_tool
