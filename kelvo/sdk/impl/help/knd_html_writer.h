#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/node.h"

#include <functional>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Where a page of a site leads. Nothing here is HTML yet.
struct KndHtmlLinks {
    /// The address and the text of the way back; no address: none.
    String index;
    String indexText;
    /// Returns the address of the page of a type; empty when it has none. Unset: none has.
    std::function<String(const String& type)> pageOf;
    /// The types that have the node's for a base.
    std::vector<String> derived;
};

/// Writes what a node's definition tells about it as HTML: label, type and bases, icon, help, the
/// inputs by page and group of the layout, the outputs, and an example in scene text.
///
/// Texts are in the language of `os::language()` where they have it. A whole page needs nothing
/// outside itself and runs nothing. Every text from a scene or a definition is escaped, and an icon
/// shows only when it is plain, still SVG.
class KndHtmlWriter {
public:
    /// Returns a whole page, or (`page` false) the fragment inside it, which has no style; empty
    /// for an empty handle.
    [[nodiscard]] QV_EXPORT static String nodeHtml(kelvo_sdk::Node node, bool page);
    /// Returns a whole page that leads to others of its site; empty for an empty handle.
    [[nodiscard]] QV_EXPORT static String sitePage(kelvo_sdk::Node node, const KndHtmlLinks& links);
};

} // namespace qv::kelvo_sdk::impl
