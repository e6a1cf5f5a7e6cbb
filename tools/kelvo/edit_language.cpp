#include "tools/kelvo/edit_language.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::impl::LineCounter;
using kelvo_sdk::impl::TextLexer;

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
            const auto place = m_lines.placeOf(start);
            edit.line = place.line;
            edit.column = place.column;
            edits.push_back(std::move(edit));
        }
        return true;
    }

private:
    // Goes over what stands between commands; false at the end.
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
        if (m_lexer.atEnd() || TextLexer::isBlank(m_lexer.peek()) || m_lexer.peek() == '\n' ||
            m_lexer.peek() == ';' || m_lexer.peek() == ',' || m_lexer.peek() == ']')
            return true;
        return fail(m_lexer.offset(), "expected a blank behind the text in quotes.", error);
    }

    // Texts in quotes within the word may hold anything; '#' starts a comment behind a blank alone.
    bool parsePlain(String& text, EditError& error) {
        const u64 start = m_lexer.offset();
        while (!m_lexer.atEnd() && !TextLexer::isBlank(m_lexer.peek()) && m_lexer.peek() != '\n' &&
               m_lexer.peek() != ';') {
            String ignored;
            const char* problem = nullptr;
            if (m_lexer.peek() != '"')
                m_lexer.skip(1);
            else if (!m_lexer.quoted(ignored, problem))
                return fail(m_lexer.offset(), problem, error);
        }
        text = String(m_text.substr(start, m_lexer.offset() - start));
        return true;
    }

    bool fail(u64 offset, const char* message, EditError& error) {
        const auto place = LineCounter(m_text).placeOf(offset);
        error = {place.line, place.column, message};
        return false;
    }

    std::string_view m_text;
    TextLexer m_lexer;
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
