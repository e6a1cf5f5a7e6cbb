#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

namespace qv {

namespace detail {

// Arbitrary bits: the fractions of the square roots of 2, 3, 5 and 7.
inline constexpr u64 hashSalt[4] = {0x6a09e667f3bcc908u, 0xbb67ae8584caa73bu, 0x3c6ef372fe94f82bu,
                                    0xa54ff53a5f1d36f1u};

__extension__ using u128 = unsigned __int128;

/// Combines both words of a product by xor, so that every bit of either factor reaches every bit of
/// the result. The low word alone would let changes of the topmost bits cancel out.
[[nodiscard]] constexpr u64 hashFold(u64 a, u64 b) noexcept {
    const u128 product = u128{a} * b;
    return static_cast<u64>(product) ^ static_cast<u64>(product >> 64);
}

/// Returns the hash of two words and of the state before them.
[[nodiscard]] constexpr u64 hashFinish(u64 a, u64 b, u64 state) noexcept {
    const u128 product = u128{a ^ hashSalt[0]} * (b ^ hashSalt[1]);
    const u64 h =
        hashFold(static_cast<u64>(product) ^ state, static_cast<u64>(product >> 64) ^ hashSalt[2]);
    return h != 0 ? h : hashSalt[3];
}

} // namespace detail

/// Returns the hash of `size` bytes, a fixed function of them and of `seed`: the same on every
/// platform, run and build. Never 0, so that 0 may mean "nothing" or "not yet known". Not for
/// secrets: an attacker who chooses the bytes can make hashes collide.
[[nodiscard]] QV_EXPORT u64 hashBytes(const void* data, u64 size, u64 seed = 0) noexcept;

/// Returns the result of `hashBytes` for the bytes with zeros behind them, up to the next multiple
/// of 64.
[[nodiscard]] QV_EXPORT u64 hashPadded(const void* data, u64 size, u64 seed = 0) noexcept;

/// Returns the hash of numbers of `width` bytes each, 1, 2, 4 or 8: the result of `hashBytes` for
/// their bytes in memory, `size` in all, but the same on platforms of either byte order.
[[nodiscard]] QV_EXPORT u64 hashNumbers(const void* numbers, u64 size, u64 width,
                                        u64 seed = 0) noexcept;

/// Returns the result of `hashNumbers` for `count` words of 64 bits.
[[nodiscard]] QV_EXPORT u64 hashWords(const void* words, u64 count, u64 seed = 0) noexcept;

/// Returns the result of `hashBytes` for the text in ASCII lower case.
[[nodiscard]] QV_EXPORT u64 hashFolded(std::string_view text) noexcept;

/// Adds one hash to another; the order matters. Never returns 0.
[[nodiscard]] constexpr u64 hashMix(u64 seed, u64 h) noexcept {
    return detail::hashFinish(seed, h, 0);
}

/// The result of `hashBytes` for no bytes and seed 0.
inline constexpr u64 hashOfNothing = detail::hashFinish(0, 0, 0);

} // namespace qv
