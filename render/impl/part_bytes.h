#pragma once

#include "render/impl/film.h"
#include "render/picture_parts.h"

#include <string>
#include <string_view>
#include <vector>

namespace qv::render::impl {

/// A rendered part as it travels: the sums of each block of samples of each pixel, tile by tile.
/// Blocks from the first on are added up already. The bytes are in the order of the machine.
struct PartBytes {
    u32 width = 0;
    u32 height = 0;
    PicturePart part;
    /// Block by block of each pixel, pixel by pixel of each tile.
    std::vector<PixelSums> sums;

    /// Returns how many sums there are of each pixel.
    [[nodiscard]] static u32 sumsOfPixel(const PicturePart& part) noexcept;
    [[nodiscard]] std::string store() const;
    /// False when the bytes are no such part.
    [[nodiscard]] bool load(std::string_view bytes);
};

/// Tells whether a film has the tiles, and the samples can be those of a part.
[[nodiscard]] bool isPartOf(const Film& film, const PicturePart& part) noexcept;

} // namespace qv::render::impl
