#pragma once

#include "kelvo/base/types.h"

#include <cstdint>

namespace qv {

/// Begins to fetch a line of the cache, which may be past the end of the object, or at null. The
/// address is a number, because pointers must not lead there.
inline void fetchLine(const void* start, u64 line) noexcept {
    constexpr u64 bytesOfLine = 64;
    const auto address = reinterpret_cast<std::uintptr_t>(start) + line * bytesOfLine;
    __builtin_prefetch(reinterpret_cast<const void*>(address));
}

} // namespace qv
