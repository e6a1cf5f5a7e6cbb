#pragma once

#include "kelvo/base/types.h"

#include <bit>
#include <cstring>

/// Reads words from unaligned bytes, least significant byte first on every platform.
namespace qv::word {

[[nodiscard]] inline u64 load64(const void* bytes) noexcept {
    u64 word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
}

[[nodiscard]] inline u32 load32(const void* bytes) noexcept {
    u32 word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    return word;
}

} // namespace qv::word
