#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string_io.h"

#include <string_view>

/// Texts in HTML. What comes in may hold anything; what comes out is text wherever it stands.
namespace qv::kelvo_sdk::impl::html {

/// Appends a text escaped for the content of elements and for quoted attributes. Bytes that are no
/// text become U+FFFD.
QV_EXPORT void appendText(StringIO& out, std::string_view text);

/// Appends an element that holds a text and nothing else.
QV_EXPORT void appendElement(StringIO& out, std::string_view tag, std::string_view text);

/// Appends paragraphs: blank lines part them, other ends of lines stay.
void appendParagraphs(StringIO& out, std::string_view text);

/// Appends an icon as a picture inside the page, `side` pixels wide; nothing for an icon that is
/// not plain, still SVG. A picture runs and loads nothing, whatever it holds.
QV_EXPORT void appendIcon(StringIO& out, const String& svg, u64 side);

} // namespace qv::kelvo_sdk::impl::html
