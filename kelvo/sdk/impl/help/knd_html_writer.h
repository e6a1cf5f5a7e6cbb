#pragma once

#include "kelvo/base/export.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk::impl {

/// Writes the definition of a node as HTML: label, type and bases, icon, help, the inputs by page
/// and group of the layout, the outputs, and an example in scene text. `helpSitePage` writes pages
/// with links to each other.
class KndHtmlWriter {
public:
    /// Returns a whole page or, with `page` false, only the fragment inside it, without style;
    /// empty for an empty handle.
    [[nodiscard]] QV_EXPORT static String nodeHtml(kelvo_sdk::Node node, bool page);
};

} // namespace qv::kelvo_sdk::impl
