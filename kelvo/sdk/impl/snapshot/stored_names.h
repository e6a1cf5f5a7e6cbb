#pragma once

#include "kelvo/sdk/impl/snapshot/byte_writer.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The names of the nodes of a stored snapshot: a table of places, each with the low 32 bits of the
/// folded hash of a name and the number of its node plus 1, or with 0 twice. A name is at the place
/// that its hash gives, or at one of the next, in front of the first empty one. At most half of the
/// places are used, so that look-ups are short.
class StoredNames {
public:
    static constexpr u64 bytesOfPlace = 8;

    /// Returns the number of places for that many names, a power of two.
    [[nodiscard]] static u32 placesFor(u32 names) noexcept {
        return std::bit_ceil(std::max<u32>(2 * names, 2));
    }

    explicit StoredNames(u32 names) : m_places(placesFor(names)) {}

    void add(u64 hash, u32 number);
    [[nodiscard]] u32 places() const noexcept { return static_cast<u32>(m_places.size()); }
    /// Writes the places from `first` to before `end`.
    void write(ByteWriter& out, u32 first, u32 end) const;

    struct Place {
        u32 hash = 0;
        u32 number = 0;
    };
    /// Reads a place from a piece.
    [[nodiscard]] static Place read(std::span<const std::byte> piece, u32 index) noexcept;

private:
    std::vector<Place> m_places;
};

} // namespace qv::kelvo_sdk::impl
