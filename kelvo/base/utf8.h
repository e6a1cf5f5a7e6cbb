#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

namespace qv::utf8 {

/// Returns how many bytes the character at the start of a text takes; 0 for an empty text and where
/// no well-formed UTF-8 character starts.
[[nodiscard]] QV_EXPORT u64 sequenceLength(std::string_view text) noexcept;

/// Returns the position of the first byte at or after `from` that may not stand in a text: no
/// UTF-8, or a control character other than tab and the ends of lines. The text's size when all is
/// well.
[[nodiscard]] QV_EXPORT u64 firstFault(std::string_view text, u64 from = 0) noexcept;

} // namespace qv::utf8
