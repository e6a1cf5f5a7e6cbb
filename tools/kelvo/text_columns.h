#pragma once

#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Returns how many columns of a terminal a text takes: wide characters two, marks none.
[[nodiscard]] u64 columnsOf(std::string_view text) noexcept;

/// Returns how many bytes at the start of a text are whole characters that fit so many columns.
[[nodiscard]] std::size_t bytesWithin(std::string_view text, u64 columns) noexcept;

/// Tells whether a text has nothing but characters in it: UTF-8, blanks and ends of lines.
[[nodiscard]] bool isPlainText(std::string_view text) noexcept;

/// Appends a text without what a terminal could take for a command: that becomes '?'.
void appendPlain(StringIO& out, std::string_view text);

struct Wrapping {
    /// Columns of a line; longer words have one for themselves.
    u64 width = 80;
    /// Columns in front of each line.
    u64 indent = 0;
    /// The text in front of the first line, in place of the indent.
    std::string_view first = {};
};

/// Appends a text in lines, with its own ends of lines kept; of several blank ones one stays.
void appendWrapped(StringIO& out, std::string_view text, const Wrapping& wrapping);

} // namespace qv::kelvo_tool
