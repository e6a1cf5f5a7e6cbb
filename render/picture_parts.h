#pragma once

#include "kelvo/sdk/result.h"
#include "render/picture.h"

#include <memory>
#include <string_view>

namespace qv::render {

/// Some samples of some tiles of a picture: the work of one of several machines. Tiles are squares
/// of 16 x 16 pixels, smaller at the right and at the bottom, row by row from the top.
struct PicturePart {
    /// A part begins with a multiple of so many samples.
    static constexpr u32 sampleStep = 32;

    u32 firstTile = 0;
    u32 tileCount = 0;
    u32 firstSample = 0;
    u32 sampleCount = 0;

    /// Returns how many tiles a picture has.
    [[nodiscard]] static u64 tilesOf(u32 width, u32 height) noexcept;
};

/// Puts a picture together from what `Renderer::renderPart` returned for the same snapshot and
/// settings, also on other machines of the same byte order. With the same samples everywhere, the
/// picture is that of one renderer, bit for bit; processors of different kinds may round
/// differently.
class PictureParts {
public:
    /// Needs a size that `checkPictureSize` accepts.
    PictureParts(u32 width, u32 height);
    ~PictureParts();
    PictureParts(PictureParts&&) noexcept;
    PictureParts& operator=(PictureParts&&) noexcept;

    /// Adds a part. The parts of a tile come in the order of their samples, without gaps. Fails,
    /// and adds nothing, when the bytes are no part of this picture or not the next one.
    kelvo_sdk::Result add(std::string_view bytes);
    [[nodiscard]] Picture picture() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace qv::render
