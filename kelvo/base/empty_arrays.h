#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

namespace qv::ds {

/// Memory for the empty arrays of one hash map: 256 cells of 8 bytes, which an array of 0 elements
/// needs for its count. Runs of cells come from a pool that all maps of the process share.
///
/// Cell i belongs to bucket i, so the run can be found from a bucket's array address and index.
/// One map uses a run at a time; taking and returning runs is safe from any thread. The pool never
/// frees memory: its size is that of the most maps that lived at once.
class QV_EXPORT EmptyArrays {
public:
    static constexpr u64 cellCount = 256;
    static constexpr u64 cellSize = sizeof(u64);

    EmptyArrays(const EmptyArrays&) = delete;
    EmptyArrays& operator=(const EmptyArrays&) = delete;

    /// Takes a run from the pool, with all cells in use. Throws `std::bad_alloc` when out of
    /// memory.
    [[nodiscard, gnu::returns_nonnull]] static EmptyArrays* take();

    /// Returns the empty array of bucket `index`, whose count, 0, precedes it.
    [[nodiscard]] void* array(u64 index) noexcept { return m_cells + (index + 1) * cellSize; }

    /// Returns the run whose cell `index` contains the empty array at `array`.
    [[nodiscard]] static EmptyArrays* of(void* array, u64 index) noexcept {
        unsigned char* cell = static_cast<unsigned char*>(array) - cellSize;
        return reinterpret_cast<EmptyArrays*>(cell - index * cellSize - sizeof(u64));
    }

    /// Releases `count` cells; the run returns to the pool with its last cell.
    void drop(u64 count) noexcept {
        m_live -= count;
        if (m_live == 0) give(this);
    }

    /// Returns the number of cells in use.
    [[nodiscard]] u64 live() const noexcept { return m_live; }

    /// Runs in use by maps now, and runs that the pool has ever allocated.
    struct Usage {
        u64 taken;
        u64 total;
    };
    [[nodiscard]] static Usage usage() noexcept;

private:
    friend class EmptyArraysPool;
    EmptyArrays() noexcept : m_live(0), m_cells{} {}
    static void give(EmptyArrays* run) noexcept;

    union {
        u64 m_live;
        EmptyArrays* m_nextFree; // while in the pool
    };
    alignas(u64) unsigned char m_cells[cellCount * cellSize];
};

static_assert(sizeof(EmptyArrays) == sizeof(u64) + EmptyArrays::cellCount * EmptyArrays::cellSize);

} // namespace qv::ds
