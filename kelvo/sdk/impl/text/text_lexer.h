#pragma once

#include "kelvo/base/ascii.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

/// Encloses a raw text, which has no escapes.
inline constexpr std::string_view rawMark = "\"\"\"";

/// Splits a borrowed text into lines, `#` comments, identifiers and quoted texts.
///
/// Distinguishes white space from ends of lines, as ends of lines have a meaning in the
/// grammars. A function that does not find its token does not move. Needs a text that was checked
/// by `utf8::firstFault`.
class TextLexer {
public:
    explicit TextLexer(std::string_view text) noexcept
        : m_at(text.data()), m_end(text.data() + text.size()), m_begin(text.data()) {}

    [[nodiscard]] u64 offset() const noexcept { return static_cast<u64>(m_at - m_begin); }
    [[nodiscard]] std::string_view text() const noexcept {
        return {m_begin, static_cast<u64>(m_end - m_begin)};
    }
    [[nodiscard]] std::string_view rest() const noexcept {
        return {m_at, static_cast<u64>(m_end - m_at)};
    }
    [[nodiscard]] bool atEnd() const noexcept { return m_at == m_end; }
    /// Returns the next byte, 0 at the end.
    [[nodiscard]] char peek() const noexcept { return m_at != m_end ? *m_at : '\0'; }
    /// Moves to an offset, at most the text's size.
    void seek(u64 offset) noexcept { m_at = m_begin + offset; }
    /// Moves on by a number of bytes, at most the number left.
    void skip(u64 count) noexcept { m_at += count; }

    bool accept(char c) noexcept {
        if (m_at == m_end || *m_at != c) return false;
        ++m_at;
        return true;
    }
    /// Takes a token of several characters.
    bool accept(std::string_view mark) noexcept {
        if (!rest().starts_with(mark)) return false;
        m_at += mark.size();
        return true;
    }

    /// Skips white space up to the end of the line.
    void skipBlanks() noexcept {
        while (m_at != m_end && isBlank(*m_at))
            ++m_at;
    }
    /// Tells whether the rest of the line is empty or a comment; the end of the text ends a line.
    [[nodiscard]] bool atLineEnd() const noexcept {
        return m_at == m_end || *m_at == '\n' || *m_at == '#';
    }
    /// Skips white space, ends of lines and comments; returns whether there was a comment.
    bool skipSpace() noexcept;
    /// Moves to the end of the line, in front of the '\n'.
    void skipLine() noexcept;
    /// Takes a comment, from its '#' to the end of the line, without trailing white space; empty
    /// when no comment starts here.
    std::string_view comment() noexcept;

    /// Takes an identifier: a letter or '_', then letters, digits, '_'. Empty when no identifier
    /// starts here.
    std::string_view identifier() noexcept {
        const char* const start = m_at;
        if (m_at == m_end || !startsIdentifier(*m_at)) return {};
        do
            ++m_at;
        while (m_at != m_end && continuesIdentifier(*m_at));
        return {start, static_cast<u64>(m_at - start)};
    }
    /// Returns the identifier that starts here, without taking it.
    [[nodiscard]] std::string_view peekIdentifier() const noexcept {
        return TextLexer(*this).identifier();
    }

    /// Takes a text in quotes; needs a '"' here. If the text is malformed, returns false with a
    /// sentence in `problem` and moves to the fault.
    ///
    /// Escapes are \" \\ \n \r \t \0 and \xNN for any byte. A quoted text ends on its line.
    bool quoted(String& out, const char*& problem);

    /// Takes a raw text between two `rawMark`s, without the line breaks next to the marks and
    /// without the indentation that all lines share. False, without moving, if the closing mark is
    /// missing. Needs a `rawMark` here.
    bool raw(String& out);

    /// Describes the next token for a message: "'abc'", "the end of the line".
    [[nodiscard]] String found() const;

    [[nodiscard]] static constexpr bool isBlank(char c) noexcept {
        return c == ' ' || c == '\t' || c == '\r';
    }
    [[nodiscard]] static constexpr bool startsIdentifier(char c) noexcept {
        return ascii::isLetter(c) || c == '_';
    }
    [[nodiscard]] static constexpr bool continuesIdentifier(char c) noexcept {
        return ascii::continuesIdentifier(c);
    }

private:
    void skipPlain() noexcept;
    bool quotedWithEscapes(const char* start, String& out, const char*& problem);

    const char* m_at;
    const char* m_end;
    const char* m_begin;
};

/// Finds the lines of offsets; fast as long as the offsets ascend.
class LineCounter {
public:
    explicit LineCounter(std::string_view text) noexcept : m_text(text) {}

    struct Place {
        u64 line;
        u64 column;
    };
    /// Returns the line and column of a byte, both counted from 1.
    [[nodiscard]] Place placeOf(u64 offset) noexcept;

private:
    std::string_view m_text;
    u64 m_lineStart = 0;
    u64 m_line = 1;
};

} // namespace qv::kelvo_sdk::impl
