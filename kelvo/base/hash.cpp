#include "kelvo/base/hash.h"

#include "kelvo/base/hash_steps.h"

#include <bit>
#include <cstring>

namespace qv {

u64 hashBytes(const void* data, u64 size, u64 seed) noexcept {
    return detail::hashAll<detail::AsIs>(static_cast<const u8*>(data), size, seed);
}

u64 hashPadded(const void* data, u64 size, u64 seed) noexcept {
    const auto* const bytes = static_cast<const u8*>(data);
    const u64 behind = size % detail::hashStripe, before = size - behind;
    if (behind == 0) return hashBytes(data, size, seed);
    u8 last[detail::hashStripe] = {};
    std::memcpy(last, bytes + before, behind);
    if (before == 0) return hashBytes(last, sizeof last, seed);
    const u64 state = detail::hashStart(before + sizeof last, seed);
    return detail::hashStripes<detail::AsIs>(bytes, bytes + before, last, state);
}

u64 hashNumbers(const void* numbers, u64 size, u64 width, u64 seed) noexcept {
    const auto* const bytes = static_cast<const u8*>(numbers);
    if (std::endian::native == std::endian::little || width == 1)
        return hashBytes(numbers, size, seed);
    if (width == 2) return detail::hashAll<detail::Swapped<2>>(bytes, size, seed);
    if (width == 4) return detail::hashAll<detail::Swapped<4>>(bytes, size, seed);
    return detail::hashAll<detail::Swapped<8>>(bytes, size, seed);
}

u64 hashWords(const void* words, u64 count, u64 seed) noexcept {
    return hashNumbers(words, sizeof(u64) * count, sizeof(u64), seed);
}

u64 hashFolded(std::string_view text) noexcept {
    return detail::hashAll<detail::LowerCase>(text.data(), text.size(), 0);
}

} // namespace qv
