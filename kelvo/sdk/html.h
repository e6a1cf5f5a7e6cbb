#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string_io.h"

#include <string_view>

/// Pages of HTML in the look of the help. Texts that come in may hold anything; they come out as
/// text wherever they stand.
namespace qv::kelvo_sdk::html {

/// Appends a text escaped for the content of elements and for quoted attributes. Bytes that are no
/// text become U+FFFD.
QV_EXPORT void appendText(StringIO& out, std::string_view text);

/// Appends an element that holds a text and nothing else. `tag` is written as it is.
QV_EXPORT void appendElement(StringIO& out, std::string_view tag, std::string_view text);

/// Appends paragraphs: blank lines part them, other ends of lines stay.
QV_EXPORT void appendParagraphs(StringIO& out, std::string_view text);

/// Appends an icon as a picture inside the page, `side` pixels wide; nothing for an icon that is
/// not plain, still SVG (see `safeSvg`). A picture runs and loads nothing, whatever it holds.
QV_EXPORT void appendIcon(StringIO& out, const String& svg, u64 side);

/// The head of a page.
struct PageHead {
    std::string_view title;
    /// Style of this page alone, as it stands.
    std::string_view style = {};
    /// The "sha256-..." of the one script that the page may run; empty: none.
    std::string_view scriptHash = {};
};

/// Appends all up to the content of the body: a page that loads nothing, with its style inside.
QV_EXPORT void openPage(StringIO& out, const PageHead& head);

/// Appends all behind the content of the body.
QV_EXPORT void closePage(StringIO& out);

} // namespace qv::kelvo_sdk::html
