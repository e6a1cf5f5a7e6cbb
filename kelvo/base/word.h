#pragma once

#include "kelvo/base/types.h"

#include <bit>
#include <cstring>
#include <type_traits>

/// Reads words from unaligned bytes, least significant byte first on every platform, also at
/// compile time.
namespace qv::word {

template<class Word, class Byte>
[[nodiscard]] constexpr Word load(const Byte* bytes) noexcept {
    static_assert(sizeof(Byte) == 1);
    Word word = 0;
    if (std::is_constant_evaluated() || std::endian::native == std::endian::big) {
        for (std::size_t i = 0; i < sizeof word; ++i)
            word |= static_cast<Word>(static_cast<u8>(bytes[i])) << (8 * i);
    } else {
        std::memcpy(&word, bytes, sizeof word);
    }
    return word;
}

template<class Byte>
[[nodiscard]] constexpr u64 load64(const Byte* bytes) noexcept {
    return load<u64>(bytes);
}

template<class Byte>
[[nodiscard]] constexpr u32 load32(const Byte* bytes) noexcept {
    return load<u32>(bytes);
}

} // namespace qv::word
