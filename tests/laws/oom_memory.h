#pragma once

#include "kelvo/base/types.h"

namespace qv::tests {

/// The program's memory, which fails on command: `new` in all its forms, malloc and realloc. Of one
/// thread.
class OomMemory {
public:
    enum class Fails { Never, Once, FromThen };

    /// Counts allocations from here; the `which`-th from now fails (1: the next), alone or with all
    /// behind it.
    static void arm(Fails fails, u64 which) noexcept;
    /// Lets all succeed again; returns how many were asked for meanwhile.
    static u64 disarm() noexcept;
    /// Returns the number of blocks that are taken.
    [[nodiscard]] static i64 live() noexcept;

    OomMemory() = delete;
};

} // namespace qv::tests
