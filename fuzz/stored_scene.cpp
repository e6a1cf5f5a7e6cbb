// Stored snapshots, without the hashes of files, which would keep most input out: any bytes open or
// are refused, and what is sound can be read, written as text and stored again.
#include "fuzz/targets.h"
#include "kelvo/sdk/snapshot_pieces.h"

#include <cstring>
#include <vector>

namespace qv::fuzz {

namespace {

using kelvo_sdk::Made;
using kelvo_sdk::PieceSink;
using kelvo_sdk::PieceSource;
using kelvo_sdk::Result;
using kelvo_sdk::Snapshot;
using kelvo_sdk::StoredPiece;

/// Pieces in memory.
class Pieces final : public PieceSource {
public:
    [[nodiscard]] u32 pieceCount() const noexcept override {
        return static_cast<u32>(pieces.size());
    }
    Result piece(u32 number, StoredPiece& out) const override {
        out.bytes = pieces[number];
        return {};
    }
    [[nodiscard]] String placeOf(u32 number, u64 byte) const override {
        return String::format("piece %u, byte %llu", number, static_cast<unsigned long long>(byte));
    }

    std::vector<std::vector<std::byte>> pieces;
};

class Sink final : public PieceSink {
public:
    Result take(std::span<const std::byte> piece, bool /*isBuffer*/) override {
        made->pieces.emplace_back(piece.begin(), piece.end());
        return {};
    }
    RefersTo<Pieces> made = RefersTo<Pieces>::adopt(new Pieces);
};

// Each piece has two bytes with its length in front, the low one first.
RefersTo<Pieces> piecesOf(std::string_view input) {
    auto made = RefersTo<Pieces>::adopt(new Pieces);
    while (input.size() >= 2) {
        const auto low = static_cast<unsigned char>(input[0]);
        const auto high = static_cast<unsigned char>(input[1]);
        const std::string_view piece = input.substr(2, low + 256U * high);
        const auto* const bytes = reinterpret_cast<const std::byte*>(piece.data());
        made->pieces.emplace_back(bytes, bytes + piece.size());
        input.remove_prefix(2 + piece.size());
    }
    return made;
}

} // namespace

void runStoredScene(std::string_view input) {
    const Made<Snapshot> opened = openSnapshot(RefersTo<PieceSource>(piecesOf(input).get()));
    if (!opened.result()) return;
    const bool isSound = opened.verify();
    const String text = opened.text();
    const u64 hash = opened.hash();
    Sink sink;
    require(storeSnapshot(opened, sink) == isSound, "sound snapshots alone can be stored");
    if (!isSound) return;
    const Made<Snapshot> again = openSnapshot(RefersTo<PieceSource>(sink.made.get()));
    require(again.result() && again.verify(), "a snapshot that was stored is sound");
    require(again.text() == text && again.hash() == hash, "a stored snapshot says the same");
}

} // namespace qv::fuzz
