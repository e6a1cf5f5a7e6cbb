#include "tools/kelvo/edit_language.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/quoted_text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

/// Splits a script into blanks, line ends, comments and texts in quotes.
class EditLexer {
public:
    explicit EditLexer(std::string_view text) noexcept : m_text(text) {}

    [[nodiscard]] u64 offset() const noexcept { return m_at; }
    [[nodiscard]] bool atEnd() const noexcept { return m_at == m_text.size(); }
    /// Returns the next byte, 0 at the end.
    [[nodiscard]] char peek() const noexcept { return atEnd() ? '\0' : m_text[m_at]; }
    [[nodiscard]] bool atBlank() const noexcept {
        return !atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\r');
    }
    /// Tells whether the rest of the line is empty or a comment.
    [[nodiscard]] bool atLineEnd() const noexcept {
        return atEnd() || peek() == '\n' || peek() == '#';
    }

    void skip() noexcept { ++m_at; }
    bool accept(char c) noexcept {
        if (atEnd() || peek() != c) return false;
        skip();
        return true;
    }
    void skipBlanks() noexcept {
        while (atBlank())
            skip();
    }
    /// Skips white space, ends of lines and comments.
    void skipSpace() noexcept {
        while (!atEnd() && (atBlank() || atLineEnd()))
            m_at = peek() == '#' ? std::min<u64>(m_text.find('\n', m_at), m_text.size()) : m_at + 1;
    }
    /// Takes a text in quotes; on failure returns false with a sentence in `problem`, at the place
    /// of the fault.
    bool quoted(String& out, const char*& problem) {
        kelvo_sdk::QuotedText read = kelvo_sdk::readQuoted(m_text.substr(m_at));
        m_at += read.size;
        out = std::move(read.text);
        problem = read.problem;
        return !problem;
    }

private:
    std::string_view m_text;
    u64 m_at = 0;
};

/// Counts the lines of a script; offsets must ascend.
class LineCounter {
public:
    explicit LineCounter(std::string_view text) noexcept : m_text(text) {}

    void goTo(u64 offset) noexcept {
        for (u64 end = m_text.find('\n', m_start); end < offset; end = m_text.find('\n', m_start)) {
            m_start = end + 1;
            ++m_line;
        }
        m_column = offset - m_start + 1;
    }
    /// Both count from 1.
    [[nodiscard]] u64 line() const noexcept { return m_line; }
    [[nodiscard]] u64 column() const noexcept { return m_column; }

private:
    std::string_view m_text;
    u64 m_start = 0;
    u64 m_line = 1;
    u64 m_column = 1;
};

/// Reads the commands of a script.
class EditParser {
public:
    explicit EditParser(const String& script)
        : m_text(script.view()), m_lexer(m_text), m_lines(m_text) {}

    bool parse(std::vector<Edit>& edits, EditError& error) {
        const u64 fault = utf8::firstFault(m_text);
        if (fault != m_text.size())
            return fail(fault, "a byte that cannot stand in a text.", error);
        while (skipToCommand()) {
            Edit edit;
            const u64 start = m_lexer.offset();
            if (!parseWords(start, edit, error)) return false;
            edit.text = String(m_text.substr(start, edit.words.back().end));
            m_lines.goTo(start);
            edit.line = m_lines.line();
            edit.column = m_lines.column();
            edits.push_back(std::move(edit));
        }
        return true;
    }

private:
    // Skips everything between commands; false at the end.
    bool skipToCommand() {
        do
            m_lexer.skipSpace();
        while (m_lexer.accept(';'));
        return !m_lexer.atEnd();
    }

    [[nodiscard]] bool atCommandEnd() const { return m_lexer.atLineEnd() || m_lexer.peek() == ';'; }

    bool parseWords(u64 start, Edit& edit, EditError& error) {
        while (!atCommandEnd()) {
            Edit::Word word{{}, m_lexer.offset() - start, 0, m_lexer.peek() == '"'};
            if (!(word.isQuoted ? parseQuoted(word.text, error) : parsePlain(word.text, error)))
                return false;
            word.end = m_lexer.offset() - start;
            edit.words.push_back(std::move(word));
            m_lexer.skipBlanks();
        }
        return true;
    }

    bool parseQuoted(String& text, EditError& error) {
        const char* problem = nullptr;
        if (!m_lexer.quoted(text, problem)) return fail(m_lexer.offset(), problem, error);
        if (m_lexer.atEnd() || m_lexer.atBlank() || m_lexer.peek() == '\n' ||
            m_lexer.peek() == ';' || m_lexer.peek() == ',' || m_lexer.peek() == ']')
            return true;
        return fail(m_lexer.offset(), "expected a blank behind the text in quotes.", error);
    }

    // Quoted parts within the word may hold any character; '#' starts a comment only after a blank.
    bool parsePlain(String& text, EditError& error) {
        const u64 start = m_lexer.offset();
        while (!m_lexer.atEnd() && !m_lexer.atBlank() && m_lexer.peek() != '\n' &&
               m_lexer.peek() != ';') {
            String ignored;
            const char* problem = nullptr;
            if (m_lexer.peek() != '"')
                m_lexer.skip();
            else if (!m_lexer.quoted(ignored, problem))
                return fail(m_lexer.offset(), problem, error);
        }
        text = String(m_text.substr(start, m_lexer.offset() - start));
        return true;
    }

    bool fail(u64 offset, const char* message, EditError& error) {
        LineCounter place(m_text);
        place.goTo(offset);
        error = {place.line(), place.column(), message};
        return false;
    }

    std::string_view m_text;
    EditLexer m_lexer;
    LineCounter m_lines;
};

} // namespace

String Edit::valueFrom(u64 word) const {
    if (!has(word)) return {};
    if (words[word].isQuoted && !has(word + 1)) return words[word].text;
    return text.substr(words[word].start);
}

String EditError::textIn(const String& source) const {
    return source + ":" + std::string_view(std::to_string(line)) + ":" +
           std::string_view(std::to_string(column)) + ": " + message;
}

bool parseEdits(const String& script, std::vector<Edit>& edits, EditError& error) {
    return EditParser(script).parse(edits, error);
}

} // namespace qv::kelvo_tool
