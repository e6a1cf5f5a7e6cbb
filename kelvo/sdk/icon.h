#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

namespace qv::kelvo_sdk {

/// Returns the root element of an icon that is plain SVG: shapes, groups, gradients and texts,
/// which load nothing and run nothing. Empty for any other text.
///
/// Refuses scripts and event handlers, animations, style sheets, references except to the icon's
/// own gradients, addresses, entities, text that is not well-formed XML or means something else as
/// HTML, and text that is too large or too deeply nested for an icon. Cuts off the text in front of
/// the root, such as a document type without declarations, and omits attributes that do not draw.
/// The result may be put into an HTML page unchanged.
[[nodiscard]] QV_EXPORT String safeSvg(const String& icon);

} // namespace qv::kelvo_sdk
