#pragma once

#include "kelvo/base/export.h"

namespace qv::kelvo_sdk::impl {

/// Returns the picture shown for nodes without an icon, a grey question mark, as a whole SVG
/// document.
[[nodiscard]] const char* missingIcon() noexcept;

} // namespace qv::kelvo_sdk::impl
