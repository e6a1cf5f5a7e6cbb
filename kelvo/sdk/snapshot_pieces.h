#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/result.h"
#include "kelvo/sdk/snapshot.h"

#include <cstddef>
#include <span>

namespace qv::kelvo_sdk {

/// Takes the pieces of a snapshot to store them somewhere. Their bytes are the same on every
/// machine.
class QV_EXPORT PieceSink {
public:
    virtual ~PieceSink() = default;
    /// Takes the next piece; the first one has the number 0. The bytes are valid during the call.
    /// The elements of a large buffer are a piece of their own: stored uncompressed at an address
    /// that is a multiple of `pieceAlignment`, they can be used in place. A failure ends the
    /// storing.
    virtual Result take(std::span<const std::byte> piece, bool isBuffer) = 0;
};

inline constexpr u64 pieceAlignment = 64;

/// The bytes of a stored piece, and their owner.
struct StoredPiece {
    std::span<const std::byte> bytes;
    RefersTo<IRefCounted> owner;
};

/// Gives the pieces of a stored snapshot. Several threads may call it at once.
class QV_EXPORT PieceSource : public RefCounted {
public:
    [[nodiscard]] virtual u32 pieceCount() const noexcept = 0;
    /// Gives a piece with exactly the bytes that were stored: the source finds damage, for example
    /// by a hash. Pieces may be damaged on purpose nevertheless; readers trust nothing in them.
    virtual Result piece(u32 number, StoredPiece& out) const = 0;
    /// Gives the elements of a large buffer. May leave the search for damage to `check`, so that
    /// elements that nobody reads are not read.
    virtual Result buffer(u32 number, StoredPiece& out) const { return piece(number, out); }
    /// Searches for damage in elements that `buffer` gave.
    virtual Result check(u32 /*number*/) const { return {}; }
    /// Says for messages where a byte of a piece is, as in "scene.knb, byte 4096".
    [[nodiscard]] virtual String placeOf(u32 number, u64 byte) const = 0;
};

/// Stores a snapshot. Nodes get new numbers, their positions in creation order; everything else can
/// be read again. Fails when the sink does, when memory is out, or when the snapshot is itself a
/// stored one with damage.
[[nodiscard]] QV_EXPORT Result storeSnapshot(const Snapshot& snapshot, PieceSink& sink);

/// Opens a stored snapshot. Reads the few pieces that concern the whole scene; the others follow
/// when their nodes are first asked for, on any thread. A damaged piece that is found then reads as
/// if its nodes did not exist, and `Snapshot::damage` tells of it; `Snapshot::verify` searches for
/// damage everywhere.
[[nodiscard]] QV_EXPORT Made<Snapshot> openSnapshot(const RefersTo<PieceSource>& source);

} // namespace qv::kelvo_sdk
