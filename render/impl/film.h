#pragma once

#include "render/impl/path_tracer.h"
#include "render/picture.h"

namespace qv::render::impl {

/// Sums up the samples of the pixels. Each pixel's samples come in their order, so that the sums
/// are the same whatever thread adds them.
class Film {
public:
    static constexpr u32 tileSize = 16;
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

    [[nodiscard]] u32 sampleCount(u32 x, u32 y) const noexcept { return sums(x, y).count; }
    void add(u32 x, u32 y, const PixelSample& sample) noexcept;
    /// Returns the standard error of a tile's pixels, by its brightness.
    [[nodiscard]] double noiseOf(u32 tile) const noexcept;
    [[nodiscard]] Picture picture() const;

private:
    struct Sums {
        double color[3]{};
        double alpha = 0.0;
        // Of the squares of the luminance.
        double squares = 0.0;
        Vec3 albedo;
        Vec3 normal;
        float depth = std::numeric_limits<float>::infinity();
        kelvo_sdk::NodeNumber node = kelvo_sdk::noNodeNumber;
        u32 count = 0;
    };

    [[nodiscard]] const Sums& sums(u32 x, u32 y) const noexcept {
        return m_pixels[u64{y} * m_width + x];
    }
    static double luminanceOf(const Sums& sums) noexcept;

    u32 m_width;
    u32 m_height;
    u32 m_columns;
    u32 m_rows;
    std::vector<Sums> m_pixels;
};

} // namespace qv::render::impl
