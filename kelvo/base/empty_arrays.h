#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

namespace qv::ds {

/// Room for the empty arrays of one hash map: 256 cells, each for the 8 bytes that an array of 0
/// elements takes (its count). Runs come from a pool that all maps of the process share.
///
/// Cell i belongs to bucket i, so a bucket's array address and index lead back to the run.
/// One map uses a run at a time; taking and giving back is safe from any thread. The pool keeps
/// what it has got: its size is that of the most maps that lived at once.
class QV_EXPORT EmptyArrays {
public:
    static constexpr u64 cellCount = 256;
    static constexpr u64 cellSize = sizeof(u64);

    EmptyArrays(const EmptyArrays&) = delete;
    EmptyArrays& operator=(const EmptyArrays&) = delete;

    /// A run of the pool with all cells in use. Throws `std::bad_alloc` when memory is out.
    [[nodiscard, gnu::returns_nonnull]] static EmptyArrays* take();

    /// The empty array of bucket `index`, whose count, 0, stands in front of it.
    [[nodiscard]] void* array(u64 index) noexcept { return m_cells + (index + 1) * cellSize; }

    /// The run whose cell `index` holds the empty array at `array`.
    [[nodiscard]] static EmptyArrays* of(void* array, u64 index) noexcept {
        unsigned char* cell = static_cast<unsigned char*>(array) - cellSize;
        return reinterpret_cast<EmptyArrays*>(cell - index * cellSize - sizeof(u64));
    }

    /// Says that `count` of the cells are no longer used; the run goes back with its last cell.
    void drop(u64 count) noexcept {
        m_live -= count;
        if (m_live == 0) give(this);
    }

    /// Cells in use.
    [[nodiscard]] u64 live() const noexcept { return m_live; }

    /// Runs that are with maps now, and runs that the pool has ever got memory for.
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
