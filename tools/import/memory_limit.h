#pragma once

#include "kelvo/base/types.h"

namespace qv::model_import {

/// While it lives, allocations of the whole process by `new` throw `std::bad_alloc` once they
/// hold `bytes` more than when it began. For readers that believe whatever number a file states.
///
/// One at a time. A program that uses it gets allocation functions that count.
class MemoryLimit {
public:
    explicit MemoryLimit(u64 bytes) noexcept;
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    /// Grants that many bytes more.
    void raise(u64 bytes) noexcept;
};

} // namespace qv::model_import
