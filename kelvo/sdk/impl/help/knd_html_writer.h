#pragma once

#include "kelvo/base/export.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk::impl {

/// Writes what a node's definition tells about it as HTML: label, type and bases, icon, help, the
/// inputs by page and group of the layout, the outputs, and an example in scene text. See
/// `helpSitePage` for pages that lead to others.
class KndHtmlWriter {
public:
    /// Returns a whole page, or (`page` false) the fragment inside it, which has no style; empty
    /// for an empty handle.
    [[nodiscard]] QV_EXPORT static String nodeHtml(kelvo_sdk::Node node, bool page);
};

} // namespace qv::kelvo_sdk::impl
