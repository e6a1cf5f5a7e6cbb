#include "kelvo/base/hash.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/word.h"

namespace qv {

namespace {

using detail::hashFinish;
using detail::hashFold;
using detail::hashSalt;

struct AsIs {
    static u64 word(u64 value) noexcept { return value; }
};
struct LowerCase {
    static u64 word(u64 value) noexcept { return ascii::toLower(value); }
};

template<class Reading>
u64 load(const u8* bytes) noexcept {
    return Reading::word(word::load64(bytes));
}

// Reads the last 0 to 16 bytes as two words, which overlap when there are fewer.
template<class Reading>
u64 finishTail(const u8* p, u64 size, u64 state) noexcept {
    if (size >= 8) return hashFinish(load<Reading>(p), load<Reading>(p + size - 8), state);
    if (size >= 4) {
        const u64 a = Reading::word(word::load32(p));
        const u64 b = Reading::word(word::load32(p + size - 4));
        return hashFinish(a, b, state);
    }
    if (size == 0) return hashFinish(0, 0, state);
    const u64 bytes = u64{p[0]} | u64{p[size / 2]} << 8 | u64{p[size - 1]} << 16;
    return hashFinish(Reading::word(bytes), 0, state);
}

constexpr u64 stripe = 64;

// Four independent lanes, which together run at memory speed.
struct Lanes {
    u64 a, b, c, d;

    explicit Lanes(u64 state) noexcept
        : a(state), b(state ^ hashSalt[1]), c(state ^ hashSalt[2]), d(state ^ hashSalt[3]) {}

    template<class Reading>
    void add(const u8* p) noexcept {
        a = hashFold(load<Reading>(p) ^ a, load<Reading>(p + 8) ^ hashSalt[0]);
        b = hashFold(load<Reading>(p + 16) ^ b, load<Reading>(p + 24) ^ hashSalt[1]);
        c = hashFold(load<Reading>(p + 32) ^ c, load<Reading>(p + 40) ^ hashSalt[2]);
        d = hashFold(load<Reading>(p + 48) ^ d, load<Reading>(p + 56) ^ hashSalt[3]);
    }
};

// Hashes at least one stripe; the last stripe may overlap the one before.
template<class Reading>
u64 hashStripes(const u8* p, u64 size, u64 state) noexcept {
    Lanes lanes(state);
    const u8* const last = p + size - stripe;
    for (; p < last; p += stripe)
        lanes.add<Reading>(p);
    lanes.add<Reading>(last);
    return hashFinish(lanes.a, lanes.b, state ^ hashFold(lanes.c ^ hashSalt[2], lanes.d));
}

template<class Reading>
u64 hashAll(const void* data, u64 size, u64 seed) noexcept {
    const u8* p = static_cast<const u8*>(data);
    u64 state = seed ^ size * hashSalt[3];
    if (size > stripe) return hashStripes<Reading>(p, size, state);
    for (; size > 16; p += 16, size -= 16)
        state = hashFold(load<Reading>(p) ^ state, load<Reading>(p + 8) ^ hashSalt[1]);
    return finishTail<Reading>(p, size, state);
}

} // namespace

u64 hashBytes(const void* data, u64 size, u64 seed) noexcept {
    return hashAll<AsIs>(data, size, seed);
}

u64 hashFolded(std::string_view text) noexcept {
    return hashAll<LowerCase>(text.data(), text.size(), 0);
}

} // namespace qv
