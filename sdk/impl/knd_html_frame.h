#pragma once

#include "base/export.h"
#include "base/string_io.h"

#include <string_view>

/// What all pages have around their content.
namespace qv::kelvo_sdk::impl::html {

/// Appends all up to the content of the body: a page that loads nothing, with the style inside.
/// `scriptHash` is the "sha256-..." of the one script that it may run; empty: none.
QV_EXPORT void openPage(StringIO& out, std::string_view title, std::string_view scriptHash = {});

/// Appends all behind the content of the body.
QV_EXPORT void closePage(StringIO& out);

} // namespace qv::kelvo_sdk::impl::html
