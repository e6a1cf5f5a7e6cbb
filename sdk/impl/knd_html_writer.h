#pragma once

#include "base/export.h"
#include "base/string.h"
#include "sdk/node.h"

namespace qv::kelvo_sdk::impl {

/// Writes what a node's definition tells about it as HTML. Every text from a scene or a definition
/// is escaped.
class QV_EXPORT KndHtmlWriter {
public:
    /// Returns a whole page, or (`page` false) the fragment inside it; empty for an empty handle.
    [[nodiscard]] static String nodeHtml(kelvo_sdk::Node node, bool page);
};

} // namespace qv::kelvo_sdk::impl
