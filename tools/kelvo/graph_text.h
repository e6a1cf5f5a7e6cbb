#pragma once

#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

// Escapes texts of a scene for DOT. In every label Graphviz reads entities and escapes such as
// "\N", so their marks are replaced here. Bytes that are not UTF-8, and control characters, become
// "�".

/// Appends a text for use between quotes; keeps line breaks.
void appendDotString(std::string_view text, StringIO& out);

/// Appends a text for use in a label made of tags.
void appendDotMarkup(std::string_view text, StringIO& out);

/// Returns the first characters of a text, with "…" if more follow.
[[nodiscard]] String shortened(const String& text, u64 mostCharacters);

} // namespace qv::kelvo_tool
