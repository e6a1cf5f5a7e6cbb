#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_sdk {

/// Returns a text in quotes, as it stands in scene text: with escapes for quotes, backslashes,
/// control characters and bytes that are no UTF-8. It reads back byte for byte.
[[nodiscard]] QV_EXPORT String quotedText(std::string_view text);

/// The outcome of reading a text in quotes.
struct QuotedText {
    /// The text without quotes and escapes.
    String text;
    /// The bytes that it takes with its quotes; where there is a problem, its place.
    u64 size = 0;
    /// A sentence without its end where the text is malformed, else null. Lives as long as the
    /// program.
    const char* problem = nullptr;
};

/// Reads the text in quotes that `text` begins with; more may follow. Escapes are
/// \" \\ \n \r \t \0 and \xNN for any byte, and a text in quotes ends on its line.
[[nodiscard]] QV_EXPORT QuotedText readQuoted(std::string_view text);

} // namespace qv::kelvo_sdk
