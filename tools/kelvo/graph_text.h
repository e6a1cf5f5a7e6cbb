#pragma once

#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

// Texts of a scene on their way into DOT. Graphviz reads entities and escapes such as "\N" in every
// label, whose marks are therefore taken out of the text here. What is no UTF-8, and control
// characters, become "�".

/// Appends a text between quotes; the ends of lines stay.
void appendDotString(std::string_view text, StringIO& out);

/// Appends a text that stands in a label made of tags.
void appendDotMarkup(std::string_view text, StringIO& out);

/// Returns the first characters of a text, with "…" when that is not all.
[[nodiscard]] String shortened(const String& text, u64 mostCharacters);

} // namespace qv::kelvo_tool
