#pragma once

#include "kelvo/base/ascii.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

/// Stands at both ends of a text that is taken as it is.
inline constexpr std::string_view rawMark = "\"\"\"";

/// Walks over a text that is read, which it borrows: lines, `#` comments, identifiers, quoted
/// texts.
///
/// White space and ends of lines are told apart, so that the grammars may give ends of lines a
/// meaning. What a function does not find it leaves alone. Needs a text that was checked by
/// `utf8::firstFault`.
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
    /// Goes to a place, at most the text's size.
    void seek(u64 offset) noexcept { m_at = m_begin + offset; }
    /// Goes on by a number of bytes, at most those that are left.
    void skip(u64 count) noexcept { m_at += count; }

    bool accept(char c) noexcept {
        if (m_at == m_end || *m_at != c) return false;
        ++m_at;
        return true;
    }
    /// Takes a mark of several characters.
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
    /// Tells whether nothing but a comment is left of the line; the end of the text ends a line.
    [[nodiscard]] bool atLineEnd() const noexcept {
        return m_at == m_end || *m_at == '\n' || *m_at == '#';
    }
    /// Skips white space, ends of lines and comments; returns whether there was a comment.
    bool skipSpace() noexcept;
    /// Goes to the end of the line, in front of the '\n'.
    void skipLine() noexcept;
    /// Takes a comment, from its '#' up to the end of the line without white space there; empty
    /// when none starts here.
    std::string_view comment() noexcept;

    /// Takes an identifier: a letter or '_', then letters, digits, '_'. Empty when none starts
    /// here.
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

    /// Takes a text in quotes. False, and a sentence in `problem`, when it is malformed; the lexer
    /// stands at the place of it then. Needs a '"' here.
    ///
    /// Escapes are \" \\ \n \r \t \0 and \xNN for any byte. A quoted text ends on its line.
    bool quoted(String& out, const char*& problem);

    /// Takes a text between two marks `rawMark`, line by line as it stands: without a line break
    /// behind the first mark and in front of the last, and without the indentation that all lines
    /// share. False when it is not closed; the lexer stays then. Needs such a mark here.
    bool raw(String& out);

    /// Describes what stands here for a message: "'abc'", "the end of the line".
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

/// Counts the lines of a text up to places that mostly come in order.
class LineCounter {
public:
    explicit LineCounter(std::string_view text) noexcept : m_text(text) {}

    struct Place {
        u64 line;
        u64 column;
    };
    /// Returns where a byte stands, both counted from 1.
    [[nodiscard]] Place placeOf(u64 offset) noexcept;

private:
    std::string_view m_text;
    u64 m_lineStart = 0;
    u64 m_line = 1;
};

} // namespace qv::kelvo_sdk::impl
