#pragma once

#include "kelvo/base/types.h"

namespace qv::tests {

/// Makes the allocations of the program fail on command: `new` in all its forms, malloc and
/// realloc. One thread gives the commands; the allocations of all threads count.
class OomMemory {
public:
    enum class Fails { Never, Once, FromThen };

    /// Counts allocations from here; the `which`-th from now fails (1: the next), alone or with all
    /// after it.
    static void arm(Fails fails, u64 which) noexcept;
    /// Lets all allocations succeed again; returns how many were requested meanwhile.
    static u64 disarm() noexcept;
    /// Returns the number of allocated blocks.
    [[nodiscard]] static i64 live() noexcept;

    OomMemory() = delete;
};

/// Returns how many allocations an action requests.
template<typename Action>
u64 allocationsOf(const Action& action) {
    OomMemory::arm(OomMemory::Fails::Never, 0);
    action();
    return OomMemory::disarm();
}

/// Makes all allocations of an action fail.
template<typename Action>
void withoutMemory(const Action& action) {
    OomMemory::arm(OomMemory::Fails::FromThen, 1);
    action();
    OomMemory::disarm();
}

} // namespace qv::tests
