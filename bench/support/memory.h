#pragma once

#include <malloc.h>

#include <cstddef>

namespace qv::bench {

/// Bytes that the heap has handed out, its own overhead included.
inline std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace qv::bench
