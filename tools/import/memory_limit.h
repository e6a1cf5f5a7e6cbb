#pragma once

#include "kelvo/base/types.h"

namespace qv::model_import {

/// During its lifetime, `new` throws `std::bad_alloc` in the whole process once `bytes` more are
/// allocated than at the start. Guards against readers that trust any number in a file.
///
/// Only one may exist at a time. It replaces the allocation functions of the program by functions
/// that count.
class MemoryLimit {
public:
    explicit MemoryLimit(u64 bytes) noexcept;
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    /// Raises the limit by that many bytes.
    void raise(u64 bytes) noexcept;
};

} // namespace qv::model_import
