#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string_io.h"

#include <string_view>

/// The frame that all pages have around their content.
namespace qv::kelvo_sdk::impl::html {

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

} // namespace qv::kelvo_sdk::impl::html
