#pragma once

#include "kelvo/sdk/impl/snapshot/byte_reader.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// The last piece of a stored snapshot, which says where everything else is.
struct StoredHead {
    static constexpr u32 nodesOfPiece = 256;
    static constexpr u32 placesOfPiece = 8192;
    // Numbers with the highest bit have other uses.
    static constexpr u32 mostNodes = 1U << 30;

    u32 nodeCount = 0;
    /// The pieces with the shapes, and with the comments of the text as a whole.
    u32 shapes = 0;
    u32 file = 0;
    /// Each piece has `nodesOfPiece` nodes, the last one the rest.
    std::vector<u32> nodes;
    /// Each piece has `placesOfPiece` places of the table of names, or all if there are fewer.
    std::vector<u32> names;

    void write(ByteWriter& out) const;
    /// Reads the head of a snapshot with that many pieces. The reader fails when it is damaged.
    [[nodiscard]] static StoredHead read(ByteReader& in, u32 pieceCount);
    [[nodiscard]] u32 nodesIn(u64 piece) const noexcept;
};

} // namespace qv::kelvo_sdk::impl
