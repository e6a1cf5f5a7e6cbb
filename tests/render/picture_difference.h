#pragma once

#include "kelvo/base/types.h"

#include <vector>

namespace qv::render::tests {

/// A picture of 8 bits for each of red, green, blue and opacity.
struct BytePicture {
    int width = 0;
    int height = 0;
    std::vector<u8> pixels;
};

/// Returns how different two pictures of one size look, as the mean distance in CIELAB of their
/// pixels, where 1 can just be seen. Both are seen before gray and blurred first: noise, which the
/// eye averages, counts little, and what covers several pixels counts fully.
[[nodiscard]] double meanDifference(const BytePicture& a, const BytePicture& b);

/// Returns the same for the part of the picture, of 8 x 8 pixels, where they differ most: a wrong
/// detail would be lost in the mean of the whole.
[[nodiscard]] double largestDifference(const BytePicture& a, const BytePicture& b);

} // namespace qv::render::tests
