#pragma once

#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Returns the columns that a text takes on a terminal: wide characters two, combining marks none.
[[nodiscard]] u64 columnsOf(std::string_view text) noexcept;

/// Returns the number of bytes at the start of a text that fit into `columns`, in whole characters.
[[nodiscard]] std::size_t bytesWithin(std::string_view text, u64 columns) noexcept;

/// Tells whether a text consists of UTF-8 characters, blanks and line breaks only.
[[nodiscard]] bool isPlainText(std::string_view text) noexcept;

/// Appends a text; characters that a terminal could take for a command become '?'.
void appendPlain(StringIO& out, std::string_view text);

struct Wrapping {
    /// Columns of a line; a longer word gets a line of its own.
    u64 width = 80;
    /// Columns in front of each line.
    u64 indent = 0;
    /// Replaces the indent of the first line.
    std::string_view first = {};
};

/// Appends a text wrapped into lines; keeps its line breaks, but joins several blank lines into
/// one.
void appendWrapped(StringIO& out, std::string_view text, const Wrapping& wrapping);

} // namespace qv::kelvo_tool
