#pragma once

#include "kelvo/sdk/snapshot_pieces.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace qv::tests {

/// A stored snapshot in memory, whose pieces can be damaged, and which counts how often each is
/// asked for.
class MemoryPieces final : public kelvo_sdk::PieceSource {
public:
    [[nodiscard]] u32 pieceCount() const noexcept override {
        return static_cast<u32>(pieces.size());
    }
    kelvo_sdk::Result piece(u32 number, kelvo_sdk::StoredPiece& out) const override {
        ++reads[number];
        return give(number, out);
    }
    kelvo_sdk::Result buffer(u32 number, kelvo_sdk::StoredPiece& out) const override {
        return give(number, out);
    }
    kelvo_sdk::Result check(u32 number) const override {
        ++checks;
        return number == damagedBuffer ? kelvo_sdk::Result::failure("The buffer is damaged.")
                                       : kelvo_sdk::Result();
    }
    [[nodiscard]] String placeOf(u32 number, u64 byte) const override {
        return String::format("piece %u, byte %llu", number, static_cast<unsigned long long>(byte));
    }

    struct Piece {
        explicit Piece(std::span<const std::byte> from) : size(from.size()) {
            bytes.reset(static_cast<std::byte*>(
                ::operator new(std::max<u64>(size, 1), std::align_val_t(64))));
            std::ranges::copy(from, bytes.get());
        }
        struct Free {
            void operator()(std::byte* memory) const noexcept {
                ::operator delete(memory, std::align_val_t(64));
            }
        };
        std::unique_ptr<std::byte, Free> bytes;
        u64 size;
        bool isBuffer = false;
    };
    std::vector<Piece> pieces;
    mutable std::vector<std::atomic<u32>> reads;
    mutable std::atomic<u32> checks = 0;
    u32 damagedBuffer = ~u32{0};

private:
    kelvo_sdk::Result give(u32 number, kelvo_sdk::StoredPiece& out) const {
        out.bytes = {pieces[number].bytes.get(), pieces[number].size};
        return {};
    }
};

/// Stores a snapshot in memory.
class MemorySink final : public kelvo_sdk::PieceSink {
public:
    kelvo_sdk::Result take(std::span<const std::byte> piece, bool isBuffer) override {
        if (failsAt-- == 0) return kelvo_sdk::Result::failure("The disk is full.");
        made->pieces.emplace_back(piece);
        made->pieces.back().isBuffer = isBuffer;
        return {};
    }

    static RefersTo<MemoryPieces> store(const kelvo_sdk::Snapshot& snapshot) {
        MemorySink sink;
        const kelvo_sdk::Result stored = kelvo_sdk::storeSnapshot(snapshot, sink);
        if (!stored) return {};
        sink.made->reads = std::vector<std::atomic<u32>>(sink.made->pieces.size());
        return sink.made;
    }

    RefersTo<MemoryPieces> made = RefersTo<MemoryPieces>::adopt(new MemoryPieces);
    int failsAt = -1;
};

} // namespace qv::tests
