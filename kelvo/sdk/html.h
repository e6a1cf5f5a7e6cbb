#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string_io.h"

#include <string_view>

/// Writes HTML pages in the style of the help. Texts may contain anything: they are escaped
/// everywhere.
namespace qv::kelvo_sdk::html {

/// Appends a text escaped for the content of elements and for quoted attributes. Bytes that are not
/// UTF-8 become U+FFFD.
QV_EXPORT void appendText(StringIO& out, std::string_view text);

/// Appends an element that contains only a text. `tag` is not escaped.
QV_EXPORT void appendElement(StringIO& out, std::string_view tag, std::string_view text);

/// Appends paragraphs, which blank lines separate; other line breaks are kept.
QV_EXPORT void appendParagraphs(StringIO& out, std::string_view text);

/// Appends an icon as an embedded picture, `side` pixels wide; nothing for an icon that `safeSvg`
/// refuses. Browsers run and load nothing for an embedded picture, whatever it contains.
QV_EXPORT void appendIcon(StringIO& out, const String& svg, u64 side);

/// The head of a page.
struct PageHead {
    std::string_view title;
    /// Additional style of this page, not escaped.
    std::string_view style = {};
    /// The "sha256-..." of the only script that the page may run; empty for none.
    std::string_view scriptHash = {};
};

/// Appends the page up to the content of the body. The page contains its style and loads nothing.
QV_EXPORT void openPage(StringIO& out, const PageHead& head);

/// Appends the page from the end of the body's content.
QV_EXPORT void closePage(StringIO& out);

} // namespace qv::kelvo_sdk::html
