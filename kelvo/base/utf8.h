#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

namespace qv::utf8 {

/// Returns the number of bytes of the character at the start of a text; 0 for an empty text and
/// where no well-formed UTF-8 character starts.
[[nodiscard]] QV_EXPORT u64 sequenceLength(std::string_view text) noexcept;

/// Returns the position of the first byte at or after `from` that a text may not contain: invalid
/// UTF-8, or a control character other than tab and line ends. Returns the text's size when there
/// is none.
[[nodiscard]] QV_EXPORT u64 firstFault(std::string_view text, u64 from = 0) noexcept;

} // namespace qv::utf8
