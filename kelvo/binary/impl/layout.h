#pragma once

#include "kelvo/base/types.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <span>

// The layout of files in the binary form; docs/binary-scene.md describes it byte by byte.
namespace qv::kelvo_binary {

inline constexpr std::array<u8, 8> magic = {0x89, 'K', 'N', 'B', '\r', '\n', 0x1a, '\n'};
inline constexpr u32 version = 1;
// Pieces begin at multiples of it.
inline constexpr u64 alignment = 64;
inline constexpr u64 bytesOfHeader = 64;
inline constexpr u64 bytesOfTrailer = 64;
inline constexpr u64 bytesOfEntry = 40;
// A compressed piece takes at least this part of its size, so that a small file cannot ask for much
// memory.
inline constexpr u64 mostCompression = 256;

enum class Compression : u64 { None, Zstd };

/// A line of the directory: where a piece is.
struct Entry {
    u64 offset = 0;
    /// In the file, without the zeros up to the next multiple of the alignment.
    u64 storedSize = 0;
    u64 size = 0;
    /// Of the stored bytes and the zeros behind them.
    u64 hash = 0;
    Compression compression = Compression::None;
};

[[nodiscard]] constexpr u64 aligned(u64 size) noexcept {
    return (size + alignment - 1) / alignment * alignment;
}

/// Numbers have their low byte first.
template<typename T>
void store(T number, std::byte* place) noexcept {
    for (std::size_t i = 0; i < sizeof number; ++i)
        place[i] = static_cast<std::byte>(number >> 8 * i);
}

template<typename T>
[[nodiscard]] T load(const std::byte* place) noexcept {
    T number = 0;
    for (std::size_t i = 0; i < sizeof number; ++i)
        number |= static_cast<T>(std::to_integer<T>(place[i]) << 8 * i);
    return number;
}

} // namespace qv::kelvo_binary
