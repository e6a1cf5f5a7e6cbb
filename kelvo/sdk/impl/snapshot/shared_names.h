#pragma once

#include "kelvo/sdk/impl/snapshot/shared_array.h"

namespace qv::kelvo_sdk::impl {

/// Finds numbers by the hash of a name; copies share memory, as those of a `SharedArray` do. A
/// table with open addressing that is at most half full.
class SharedNames {
public:
    void insert(u64 hash, u32 number, SnapshotStore& store);
    /// Part of the hash of a name, and the number plus 1; 0 for an empty place.
    struct Entry {
        u32 hash = 0;
        u32 number = 0;
        bool operator==(const Entry&) const = default;
    };
    [[nodiscard]] static Entry entryOf(u64 hash, u32 number) noexcept {
        return {static_cast<u32>(hash), number + 1};
    }
    /// Gives an empty table these entries, much faster than one after the other. Throws
    /// std::bad_alloc; then the table must be cleared.
    void fill(std::span<const Entry> entries, SnapshotStore& store);
    /// Needs a number that was inserted with that hash.
    void remove(u64 hash, u32 number, SnapshotStore& store);
    /// Gives all blocks to the store, and is empty then.
    void clear(SnapshotStore& store) noexcept;

    /// Calls `isRight(number)` for each number whose hash is probably this one, until one is right.
    /// Returns that number, `none` when there is none.
    template<typename IsRight>
    [[nodiscard]] u32 find(u64 hash, const IsRight& isRight) const noexcept {
        if (m_places == 0) return none;
        for (u32 place = homeOf(hash);; place = next(place)) {
            const Entry entry = m_entries.at(place);
            if (entry.number == 0) return none;
            if (entry.hash == static_cast<u32>(hash) && isRight(entry.number - 1))
                return entry.number - 1;
        }
    }
    static constexpr u32 none = 0xffffffff;

private:
    [[nodiscard]] u32 homeOf(u64 hash) const noexcept {
        return static_cast<u32>(hash) & (m_places - 1);
    }
    [[nodiscard]] u32 next(u32 place) const noexcept { return (place + 1) & (m_places - 1); }
    void resize(u32 places, SnapshotStore& store);
    void put(Entry entry, SnapshotStore& store);

    SharedArray<Entry> m_entries;
    // A power of two, or 0.
    u32 m_places = 0;
    u32 m_count = 0;
};

} // namespace qv::kelvo_sdk::impl
