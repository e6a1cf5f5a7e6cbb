#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <bit>

namespace qv::ds {

/// Memory for the empty arrays of one hash map: 256 cells of 8 bytes, which an array of 0 elements
/// needs for its count. Runs of cells come from a pool that all maps of the process share.
///
/// Cell i belongs to bucket i, so the run can be found from a bucket's array address and index. The
/// run knows which cells its map has released, so that the map finds its few buckets with storage
/// of their own without reading all buckets. One map uses a run at a time; taking and returning
/// runs is safe from any thread. The pool never frees memory: its size is that of the most maps
/// that lived at once.
class QV_EXPORT EmptyArrays {
public:
    static constexpr u64 cellCount = 256;
    static constexpr u64 cellSize = sizeof(u64);
    static constexpr u64 headerSize = sizeof(u64) + cellCount / 8;

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
        return reinterpret_cast<EmptyArrays*>(cell - index * cellSize - headerSize);
    }

    /// Releases cell `index`, which must be in use; the run returns to the pool with its last cell.
    void release(u64 index) noexcept {
        m_released[index / wordBits] |= u64{1} << index % wordBits;
        if (--m_live == 0) give(this);
    }
    /// Releases all cells still in use.
    void releaseAll() noexcept { give(this); }

    /// Returns the number of cells in use.
    [[nodiscard]] u64 live() const noexcept { return m_live; }

    /// Calls `visit(index)` for each released cell, in ascending or in descending order.
    template<class F>
    void forEachReleased(F&& visit) const {
        for (u64 word = 0; word < wordCount; ++word)
            for (u64 bits = m_released[word]; bits != 0; bits &= bits - 1)
                visit(word * wordBits + static_cast<u64>(std::countr_zero(bits)));
    }
    template<class F>
    void forEachReleasedReversed(F&& visit) const {
        for (u64 word = wordCount; word-- > 0;)
            for (u64 bits = m_released[word]; bits != 0;) {
                const u64 bit = static_cast<u64>(std::bit_width(bits)) - 1;
                visit(word * wordBits + bit);
                bits ^= u64{1} << bit;
            }
    }

    /// Runs in use by maps now, and runs that the pool has ever allocated.
    struct Usage {
        u64 taken;
        u64 total;
    };
    [[nodiscard]] static Usage usage() noexcept;

private:
    friend class EmptyArraysPool;
    static constexpr u64 wordBits = 64;
    static constexpr u64 wordCount = cellCount / wordBits;

    // The counts in the cells are written here once: nobody changes the count of an empty array.
    EmptyArrays() noexcept : m_live(0), m_released{}, m_cells{} {}
    static void give(EmptyArrays* run) noexcept;

    union {
        u64 m_live;
        EmptyArrays* m_nextFree; // while in the pool
    };
    u64 m_released[wordCount]; // bit i of all words together: cell i is released
    alignas(u64) unsigned char m_cells[cellCount * cellSize];

    static_assert(cellCount % wordBits == 0);
};

static_assert(sizeof(EmptyArrays) ==
              EmptyArrays::headerSize + EmptyArrays::cellCount * EmptyArrays::cellSize);

} // namespace qv::ds
