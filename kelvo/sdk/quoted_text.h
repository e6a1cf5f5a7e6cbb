#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_sdk {

/// Returns a text in quotes as in scene text, with escapes for quotes, backslashes, control
/// characters and bytes that are not UTF-8. `readQuoted` returns exactly the same bytes.
[[nodiscard]] QV_EXPORT String quotedText(std::string_view text);

/// The outcome of reading a text in quotes.
struct QuotedText {
    /// The text without quotes and escapes.
    String text;
    /// The number of bytes with the quotes, or the place of the problem if there is one.
    u64 size = 0;
    /// A sentence without its full stop if the text is malformed, else null. Lives as long as the
    /// program.
    const char* problem = nullptr;
};

/// Reads the text in quotes at the start of `text`; more may follow. Escapes are
/// \" \\ \n \r \t \0 and \xNN for any byte; a text in quotes ends on the line where it begins.
[[nodiscard]] QV_EXPORT QuotedText readQuoted(std::string_view text);

} // namespace qv::kelvo_sdk
