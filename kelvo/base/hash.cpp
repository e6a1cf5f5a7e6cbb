#include "kelvo/base/hash.h"

#include "kelvo/base/hash_steps.h"

namespace qv {

u64 hashBytes(const void* data, u64 size, u64 seed) noexcept {
    return detail::hashAll<detail::AsIs>(static_cast<const u8*>(data), size, seed);
}

u64 hashWords(const void* words, u64 count, u64 seed) noexcept {
    return detail::hashAll<detail::AsWords>(static_cast<const u8*>(words), 8 * count, seed);
}

u64 hashFolded(std::string_view text) noexcept {
    return detail::hashAll<detail::LowerCase>(text.data(), text.size(), 0);
}

} // namespace qv
