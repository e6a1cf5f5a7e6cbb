#pragma once

#include "kelvo/base/ascii.h"
#include "kelvo/base/hash.h"
#include "kelvo/base/word.h"

/// The steps of `hashBytes` and `hashFolded`. They work at compile time too, so that the hash of a
/// name in source code is a constant. `Byte` is `u8` or `char`.
namespace qv::detail {

struct AsIs {
    static constexpr u64 word(u64 value) noexcept { return value; }
    // Returns the word of the first, the middle and the last of 1 to 3 bytes.
    static constexpr u64 few(u64 first, u64 middle, u64 last) noexcept {
        return first | middle << 8 | last << 16;
    }
};
// Reads numbers whose first byte is the most significant one, as if it were the last.
template<u64 width>
struct Swapped {
    static constexpr u64 word(u64 value) noexcept {
        if constexpr (width > 1)
            value = (value & 0x00ff00ff00ff00ff) << 8 | (value >> 8 & 0x00ff00ff00ff00ff);
        if constexpr (width > 2)
            value = (value & 0x0000ffff0000ffff) << 16 | (value >> 16 & 0x0000ffff0000ffff);
        if constexpr (width > 4) value = value << 32 | value >> 32;
        return value;
    }
    // There are 2 bytes, those of one number.
    static constexpr u64 few(u64 first, u64 /*middle*/, u64 last) noexcept {
        return AsIs::few(last, first, first);
    }
};
struct LowerCase {
    static constexpr u64 word(u64 value) noexcept { return ascii::toLower(value); }
    static constexpr u64 few(u64 first, u64 middle, u64 last) noexcept {
        return word(AsIs::few(first, middle, last));
    }
};

template<class Reading, class Byte>
[[gnu::always_inline]] constexpr u64 loadWord(const Byte* bytes) noexcept {
    return Reading::word(word::load64(bytes));
}

// Reads the last 0 to 16 bytes as two words, which overlap when there are fewer.
template<class Reading, class Byte>
[[gnu::always_inline]] constexpr u64 hashTail(const Byte* p, u64 size, u64 state) noexcept {
    if (size >= 8) return hashFinish(loadWord<Reading>(p), loadWord<Reading>(p + size - 8), state);
    if (size >= 4) {
        const u64 a = Reading::word(word::load32(p));
        const u64 b = Reading::word(word::load32(p + size - 4));
        return hashFinish(a, b, state);
    }
    if (size == 0) return hashFinish(0, 0, state);
    const auto byte = [p](u64 at) { return u64{static_cast<u8>(p[at])}; };
    return hashFinish(Reading::few(byte(0), byte(size / 2), byte(size - 1)), 0, state);
}

inline constexpr u64 hashStripe = 64;

// Four independent lanes, which together run at memory speed.
struct HashLanes {
    u64 a, b, c, d;

    explicit constexpr HashLanes(u64 state) noexcept
        : a(state), b(state ^ hashSalt[1]), c(state ^ hashSalt[2]), d(state ^ hashSalt[3]) {}

    template<class Reading, class Byte>
    constexpr void add(const Byte* p) noexcept {
        a = hashFold(loadWord<Reading>(p) ^ a, loadWord<Reading>(p + 8) ^ hashSalt[0]);
        b = hashFold(loadWord<Reading>(p + 16) ^ b, loadWord<Reading>(p + 24) ^ hashSalt[1]);
        c = hashFold(loadWord<Reading>(p + 32) ^ c, loadWord<Reading>(p + 40) ^ hashSalt[2]);
        d = hashFold(loadWord<Reading>(p + 48) ^ d, loadWord<Reading>(p + 56) ^ hashSalt[3]);
    }
};

constexpr u64 hashStart(u64 size, u64 seed) noexcept {
    return seed ^ size * hashSalt[3];
}

// Hashes the stripes from `p` on that begin before `end`, and the last stripe, which may overlap
// the one before.
template<class Reading, class Byte>
constexpr u64 hashStripes(const Byte* p, const Byte* end, const Byte* last, u64 state) noexcept {
    HashLanes lanes(state);
    for (; p < end; p += hashStripe)
        lanes.add<Reading>(p);
    lanes.add<Reading>(last);
    return hashFinish(lanes.a, lanes.b, state ^ hashFold(lanes.c ^ hashSalt[2], lanes.d));
}

template<class Reading, class Byte>
[[gnu::always_inline]] constexpr u64 hashAll(const Byte* p, u64 size, u64 seed) noexcept {
    u64 state = hashStart(size, seed);
    if (size > hashStripe) {
        const Byte* const last = p + size - hashStripe;
        return hashStripes<Reading>(p, last, last, state);
    }
#pragma GCC unroll 3
    for (; size > 16; p += 16, size -= 16)
        state = hashFold(loadWord<Reading>(p) ^ state, loadWord<Reading>(p + 8) ^ hashSalt[1]);
    return hashTail<Reading>(p, size, state);
}

} // namespace qv::detail
