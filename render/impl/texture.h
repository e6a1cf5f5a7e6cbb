#pragma once

#include "render/impl/vec3.h"

#include <vector>

namespace qv::render::impl {

/// A colour with its opacity.
struct Vec4 {
    Vec3 color{1, 1, 1};
    float alpha = 1.0F;

    [[nodiscard]] bool operator==(const Vec4&) const noexcept = default;
};

/// The surroundings of a picture in one direction.
enum class Wrap : u32 {
    Repeat,
    Clamp,
    Mirror,
    /// Outside of the picture the value is white, as without texture.
    Decal,
};

enum class Filter : u32 { Nearest, Linear, Cubic };

/// How the numbers of a picture are meant: as colours, or as numbers that are not encoded.
enum class Meaning : u32 { Colors, Numbers };

/// A picture, row by row from the top. Its colours are not multiplied by the opacity.
struct Texture {
    u32 width = 0;
    u32 height = 0;
    Filter filter = Filter::Linear;
    /// Colours are encoded as those of sRGB.
    bool isSrgb = true;
    /// Four for each pixel; empty when `floats` has them.
    std::vector<u8> bytes;
    std::vector<float> floats;

    /// Returns the pixel, in linear colours.
    [[nodiscard]] Vec4 pixel(u32 x, u32 y, Meaning meaning = Meaning::Colors) const noexcept;
    /// Returns the value at texture coordinates: (0, 0) is the lower left corner of the picture,
    /// (1, 1) the upper right one.
    [[nodiscard]] Vec4 at(float u, float v, Wrap wrapU, Wrap wrapV,
                          Meaning meaning = Meaning::Colors) const noexcept;
};

/// Returns the linear value of one from 0 to 1 that is encoded as in sRGB, and the other way round.
[[nodiscard]] float linearFromSrgb(float value) noexcept;
[[nodiscard]] float srgbFromLinear(float value) noexcept;

} // namespace qv::render::impl
