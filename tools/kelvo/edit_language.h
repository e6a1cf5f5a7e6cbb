#pragma once

#include "kelvo/base/string.h"

#include <vector>

namespace qv::kelvo_tool {

/// One command of an edit script, as written; docs/edit.md has the grammar.
struct Edit {
    struct Word {
        /// Without quotes.
        String text;
        /// The range of the word in `Edit::text`.
        u64 start;
        u64 end;
        bool isQuoted;
    };

    /// The whole command; the words, at least one, are parts of it.
    String text;
    std::vector<Word> words;
    /// Place of the first word; both count from 1, columns in bytes.
    u64 line = 1;
    u64 column = 1;

    [[nodiscard]] const String& name() const { return words.front().text; }
    [[nodiscard]] bool has(u64 word) const { return word < words.size(); }
    /// Returns the rest of the command from a word on: as written, except that a single quoted text
    /// loses its quotes.
    [[nodiscard]] String valueFrom(u64 word) const;
    [[nodiscard]] u64 columnOf(u64 word) const { return column + words[word].start; }
};

/// An error in an edit script, with its place.
struct EditError {
    u64 line = 1;
    u64 column = 1;
    String message;

    /// Returns "source:line:column: message".
    [[nodiscard]] String textIn(const String& source) const;
};

/// Splits a script into commands; false with the first error in `error`.
[[nodiscard]] bool parseEdits(const String& script, std::vector<Edit>& edits, EditError& error);

} // namespace qv::kelvo_tool
