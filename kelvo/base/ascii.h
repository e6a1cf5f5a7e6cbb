#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

/// Letters, digits and white space by ASCII rules whatever the locale; other bytes are none of
/// them.
namespace qv::ascii {

[[nodiscard]] constexpr bool isSpace(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
[[nodiscard]] constexpr bool isUpper(char c) noexcept {
    return c >= 'A' && c <= 'Z';
}
[[nodiscard]] constexpr bool isLower(char c) noexcept {
    return c >= 'a' && c <= 'z';
}
[[nodiscard]] constexpr bool isLetter(char c) noexcept {
    return isUpper(c) || isLower(c);
}
[[nodiscard]] constexpr bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
/// Tells whether an identifier may have the character behind its first.
[[nodiscard]] constexpr bool continuesIdentifier(char c) noexcept {
    return isLetter(c) || isDigit(c) || c == '_';
}
[[nodiscard]] constexpr char toLower(char c) noexcept {
    return isUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}
[[nodiscard]] constexpr char toUpper(char c) noexcept {
    return isLower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

/// Returns the eight characters of a word in lower case, all at once.
[[nodiscard]] constexpr u64 toLower(u64 word) noexcept {
    constexpr u64 ones = 0x0101010101010101u;
    const u64 low = word & (0x7f * ones);
    const u64 fromA = low + (0x80 - 'A') * ones;
    const u64 behindZ = low + (0x7f - 'Z') * ones;
    const u64 upper = (fromA ^ behindZ) & ~word & (0x80 * ones);
    return word | (upper >> 2); // 0x80 >> 2 is the bit between 'A' and 'a'
}

/// Removes white space at the chosen ends.
[[nodiscard]] constexpr std::string_view trim(std::string_view text, bool leading = true,
                                              bool trailing = true) noexcept {
    while (leading && !text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (trailing && !text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Tells whether a text is a letter or '_', followed by letters, digits and '_'.
[[nodiscard]] QV_EXPORT bool isIdentifier(std::string_view text) noexcept;

[[nodiscard]] QV_EXPORT bool equalsNoCase(std::string_view a, std::string_view b) noexcept;

/// Three-way comparison of the lower-case texts by bytes: -1, 0 or 1.
[[nodiscard]] QV_EXPORT int compareNoCase(std::string_view a, std::string_view b) noexcept;

/// Returns the position of the first `part` at or after `from`; `noIndex` when absent.
[[nodiscard]] QV_EXPORT u64 findNoCase(std::string_view text, std::string_view part,
                                       u64 from = 0) noexcept;

} // namespace qv::ascii
