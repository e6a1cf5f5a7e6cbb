#pragma once

#include "kelvo/base/ascii.h"
#include "kelvo/base/types.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstring>
#include <limits>

/// Reads numbers in the middle of a text. Each function returns where the number ends; null, with
/// `out` unchanged, when there is no number or it is out of range.
namespace qv::kelvo_sdk::impl {

/// White space separates the parts of a value; in tuples and buffers a comma does as well.
[[nodiscard]] constexpr bool separatesNumbers(char c) noexcept {
    return ascii::isSpace(c) || c == ',';
}

/// Tells whether a number may end in front of `at`.
[[nodiscard]] inline bool endsNumber(const char* at, const char* end) noexcept {
    return at == end || (!ascii::isDigit(*at) && !ascii::isLetter(*at) && *at != '_' &&
                         *at != '.' && *at != '+' && *at != '-');
}

template<std::integral T>
[[nodiscard]] const char* readNumber(const char* at, const char* end, T& out) noexcept {
    T value{};
    const auto [stop, error] = std::from_chars(at, end, value);
    if (error != std::errc() || !endsNumber(stop, end)) return nullptr;
    out = value;
    return stop;
}

namespace detail {

// The numbers whose digits and power of ten are exact as double, so that one division rounds
// correctly.
struct ExactDecimals {
    static constexpr u64 maxDigits = u64{1} << 53;
    static constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
};

// Tells whether a double is half-way between two floats. The number of a text that was rounded to
// it may be on either side, so that rounding again could be wrong.
[[nodiscard]] inline bool isBetweenFloats(double value) noexcept {
    constexpr u64 dropped = (u64{1} << 29) - 1;
    return (std::bit_cast<u64>(value) & dropped) == (dropped >> 1) + 1;
}

// Reads the common form: a few digits, perhaps with a point, and no exponent. Null for other forms.
template<std::floating_point T>
[[nodiscard]] const char* readShortReal(const char* at, const char* end, T& out) noexcept {
    using Exact = ExactDecimals;
    const bool negative = at != end && *at == '-';
    at += negative;
    u64 digits = 0;
    const char* const start = at;
    while (at != end && ascii::isDigit(*at) && digits < Exact::maxDigits / 10)
        digits = digits * 10 + static_cast<u64>(*at++ - '0');
    if (at == start) return nullptr;
    std::size_t decimals = 0;
    if (at != end && *at == '.') {
        const char* const point = at++;
        while (at != end && ascii::isDigit(*at) && digits < Exact::maxDigits / 10)
            digits = digits * 10 + static_cast<u64>(*at++ - '0');
        decimals = static_cast<std::size_t>(at - point) - 1;
        if (decimals == 0) return nullptr;
    }
    if (!endsNumber(at, end) || decimals >= std::size(Exact::powers)) return nullptr;
    const double value = static_cast<double>(digits) / Exact::powers[decimals];
    if (sizeof(T) < sizeof(double) && isBetweenFloats(value)) return nullptr;
    out = static_cast<T>(negative ? -value : value);
    return at;
}

// Reads "inf", "nan" and "nan(0x...)", which gives all the bits; the first two may have a sign.
template<std::floating_point T>
[[nodiscard]] const char* readSpecialReal(const char* at, const char* end, T& out) noexcept {
    using Bits = std::conditional_t<sizeof(T) == 4, u32, u64>;
    const bool negative = at != end && *at == '-';
    const char* name = at + negative;
    if (end - name < 3) return nullptr;
    T value;
    if (std::memcmp(name, "inf", 3) == 0)
        value = std::numeric_limits<T>::infinity();
    else if (std::memcmp(name, "nan", 3) == 0)
        value = std::numeric_limits<T>::quiet_NaN();
    else
        return nullptr;
    name += 3;
    if (!negative && std::isnan(value) && end - name > 3 && std::memcmp(name, "(0x", 3) == 0) {
        Bits bits = 0;
        const auto [stop, error] = std::from_chars(name + 3, end, bits, 16);
        if (error != std::errc() || stop == end || *stop != ')') return nullptr;
        value = std::bit_cast<T>(bits);
        if (!std::isnan(value)) return nullptr;
        name = stop + 1;
    }
    if (!endsNumber(name, end)) return nullptr;
    out = negative ? -value : value;
    return name;
}

} // namespace detail

template<std::floating_point T>
[[nodiscard]] const char* readNumber(const char* at, const char* end, T& out) noexcept {
    if (const char* stop = detail::readShortReal(at, end, out)) return stop;
    T value{};
    const auto [stop, error] = std::from_chars(at, end, value);
    // from_chars reads infinities and NaNs in forms that this text does not have.
    if (error == std::errc() && endsNumber(stop, end) && std::isfinite(value)) {
        out = value;
        return stop;
    }
    return detail::readSpecialReal(at, end, out);
}

} // namespace qv::kelvo_sdk::impl
