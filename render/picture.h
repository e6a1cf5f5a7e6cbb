#pragma once

#include "kelvo/sdk/result.h"
#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::render {

/// A rendered picture, row by row from the top. A pixel without a sample yet is black and empty.
struct Picture {
    u32 width = 0;
    u32 height = 0;
    /// Four for each pixel: linear light of the primaries of sRGB, and how much of the pixel is
    /// covered. Light is not divided by the coverage.
    std::vector<float> color;
    /// Three for each pixel: the base colour of the first surface.
    std::vector<float> albedo;
    /// Three for each pixel, in the world.
    std::vector<float> normal;
    /// Along the axis of the camera, to the surface in the first sample; infinite without one.
    std::vector<float> depth;
    /// The mesh in the first sample; `noNodeNumber` without one.
    std::vector<kelvo_sdk::NodeNumber> node;
    /// The samples of each pixel.
    std::vector<u32> samples;

    [[nodiscard]] bool operator==(const Picture&) const = default;
};

/// Fails when no picture can have this size.
[[nodiscard]] kelvo_sdk::Result checkPictureSize(u32 width, u32 height);

} // namespace qv::render
