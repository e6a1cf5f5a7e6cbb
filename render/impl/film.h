#pragma once

#include "render/impl/path_tracer.h"
#include "render/picture.h"

#include <vector>

namespace qv::render::impl {

/// The sums of samples of a pixel.
struct PixelSums {
    double color[3]{};
    double alpha = 0.0;
    // Of the squares of the luminance.
    double squares = 0.0;
    Vec3 albedo;
    Vec3 normal;
    // Of the first sample.
    float depth = std::numeric_limits<float>::infinity();
    kelvo_sdk::NodeNumber node = kelvo_sdk::noNodeNumber;
    u32 count = 0;

    void add(const PixelSample& sample) noexcept;
    /// Adds the samples that follow.
    void add(const PixelSums& following) noexcept;
};

/// Sums up the samples of the pixels. Each pixel's samples come in their order and are summed in
/// blocks, so that the sums are the same whatever thread adds them, and when blocks are summed
/// elsewhere. One thread at a time may change a tile, whose memory comes with its first sample.
class Film {
public:
    static constexpr u32 tileSize = 16;
    /// The samples of a block.
    static constexpr u32 blockSize = 32;
    /// No tile is judged by fewer samples.
    static constexpr u32 leastForNoise = 16;

    Film(u32 width, u32 height);

    [[nodiscard]] u32 width() const noexcept { return m_width; }
    [[nodiscard]] u32 height() const noexcept { return m_height; }
    [[nodiscard]] u32 tileCount() const noexcept { return m_columns * m_rows; }

    /// Calls `visit(x, y)` for the pixels of a tile until it returns false.
    template<class Visit>
    void visitTile(u32 tile, const Visit& visit) const {
        const u32 left = tile % m_columns * tileSize, top = tile / m_columns * tileSize;
        for (u32 y = top; y < std::min(top + tileSize, m_height); ++y)
            for (u32 x = left; x < std::min(left + tileSize, m_width); ++x)
                if (!visit(x, y)) return;
    }

    [[nodiscard]] u32 sampleCount(u32 x, u32 y) const noexcept;
    void add(u32 x, u32 y, const PixelSample& sample);
    /// Adds the sums of the samples that follow, which begin with a new block.
    void add(u32 x, u32 y, const PixelSums& sums) { blocks(x, y).add(sums); }
    /// Frees the memory for blocks that are not complete, if there are none in the tile.
    void tidyTile(u32 tile) noexcept;
    /// Returns the standard error of a tile's pixels, by its brightness.
    [[nodiscard]] double noiseOf(u32 tile) const noexcept;
    [[nodiscard]] Picture picture() const;

private:
    using Tile = std::vector<PixelSums>;

    [[nodiscard]] PixelSums& blocks(u32 x, u32 y) { return placeIn(m_tiles, x, y); }
    // Returns the sums of a pixel in the memory of its tile, which is allocated when it is absent.
    [[nodiscard]] PixelSums& placeIn(std::vector<Tile>& tiles, u32 x, u32 y) {
        Tile& tile = tiles[tileOf(x, y)];
        if (tile.empty()) tile.resize(tileSize * tileSize);
        return tile[placeInTile(x, y)];
    }
    [[nodiscard]] PixelSums total(u32 x, u32 y) const noexcept;
    [[nodiscard]] u32 tileOf(u32 x, u32 y) const noexcept {
        return y / tileSize * m_columns + x / tileSize;
    }
    static u32 placeInTile(u32 x, u32 y) noexcept { return y % tileSize * tileSize + x % tileSize; }

    u32 m_width;
    u32 m_height;
    u32 m_columns;
    u32 m_rows;
    // For each tile, the first block and all complete ones of each pixel; empty before any sample.
    std::vector<Tile> m_tiles;
    // For each tile, the block that is not complete of each pixel; empty when all are.
    std::vector<Tile> m_open;
};

} // namespace qv::render::impl
