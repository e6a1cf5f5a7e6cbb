#pragma once

#include <malloc.h>

#include <cstddef>

namespace qv::bench {

/// Returns the bytes that the heap has handed out, including its own overhead.
inline std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace qv::bench
