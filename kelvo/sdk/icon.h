#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

namespace qv::kelvo_sdk {

/// Returns the root element of an icon, or nothing for what is not plain SVG: shapes, groups,
/// gradients and texts, which come to an end, run nothing and load nothing.
///
/// Refused are scripts and handlers, animations, style sheets, references to other than gradients
/// inside, addresses, entities, what is no well-formed XML or reads otherwise as HTML, and what is
/// larger or deeper than an icon has to be. What stands before the root, such as a document type
/// without declarations, is cut off, and attributes that no drawing is made of are left out. The
/// result may stand in a page of HTML as it is.
[[nodiscard]] QV_EXPORT String safeSvg(const String& icon);

} // namespace qv::kelvo_sdk
