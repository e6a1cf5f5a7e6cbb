#include "kelvo/sdk/impl/snapshot/stored_head.h"

#include "kelvo/sdk/impl/snapshot/stored_names.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

void write(ByteWriter& out, const std::vector<u32>& pieces) {
    out.add(static_cast<u32>(pieces.size()));
    for (const u32 piece : pieces)
        out.add(piece);
}

void read(ByteReader& in, std::vector<u32>& pieces, u32 pieceCount, u64 expected) {
    const u32 count = in.count(sizeof(u32));
    if (count != expected) return in.fail();
    for (u32 i = 0; i < count; ++i)
        pieces.push_back(in.below(pieceCount));
}

u64 piecesFor(u64 parts, u64 partsOfPiece) noexcept {
    return (parts + partsOfPiece - 1) / partsOfPiece;
}

} // namespace

void StoredHead::write(ByteWriter& out) const {
    for (const u32 word : {nodeCount, shapes, file})
        out.add(word);
    impl::write(out, nodes);
    impl::write(out, names);
}

StoredHead StoredHead::read(ByteReader& in, u32 pieceCount) {
    StoredHead head;
    head.nodeCount = in.below(mostNodes);
    head.shapes = in.below(pieceCount);
    head.file = in.below(pieceCount);
    impl::read(in, head.nodes, pieceCount, piecesFor(head.nodeCount, nodesOfPiece));
    impl::read(in, head.names, pieceCount,
               piecesFor(StoredNames::placesFor(head.nodeCount), placesOfPiece));
    if (!in.isAtEnd()) in.fail();
    return head;
}

u32 StoredHead::nodesIn(u64 piece) const noexcept {
    const u64 left = nodeCount - piece * nodesOfPiece;
    return static_cast<u32>(std::min<u64>(left, nodesOfPiece));
}

} // namespace qv::kelvo_sdk::impl
