#pragma once

#include "kelvo/base/types.h"

#include <cstddef>
#include <span>
#include <vector>

namespace qv::kelvo_binary {

/// Tells whether this build has compression.
[[nodiscard]] bool canCompress() noexcept;

/// Compresses bytes; the result is empty when that fails. Throws std::bad_alloc.
[[nodiscard]] std::vector<std::byte> compress(std::span<const std::byte> bytes);

/// Decompresses to exactly the size of `to`; false when the bytes are no compressed bytes of that
/// size.
[[nodiscard]] bool decompress(std::span<const std::byte> from, std::span<std::byte> to) noexcept;

} // namespace qv::kelvo_binary
