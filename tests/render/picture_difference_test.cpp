#include "tests/render/picture_difference.h"

#include <gtest/gtest.h>

namespace qv::render::tests {
namespace {

BytePicture gray(u8 level) {
    BytePicture picture{16, 16, std::vector<u8>(16 * 16 * 4, level)};
    for (u64 i = 3; i < picture.pixels.size(); i += 4)
        picture.pixels[i] = 255;
    return picture;
}

TEST(PictureDifference, EqualPictures_HaveNone) {
    EXPECT_EQ(meanDifference(gray(90), gray(90)), 0.0);
    EXPECT_EQ(largestDifference(gray(90), gray(90)), 0.0);
}

TEST(PictureDifference, OneStepOfLightness_CanJustBeSeen) {
    EXPECT_NEAR(meanDifference(gray(119), gray(122)), 1.1, 0.2);
    EXPECT_NEAR(meanDifference(gray(0), gray(255)), 100.0, 0.1);
}

TEST(PictureDifference, NoiseOfOnePixel_CountsLess) {
    BytePicture noisy = gray(119);
    for (u64 i = 0; i < noisy.pixels.size(); i += 4) {
        const u8 level = (i / 4 + i / 64) % 2 == 0 ? 109 : 129;
        for (u64 c = 0; c < 3; ++c)
            noisy.pixels[i + c] = level;
    }
    EXPECT_LT(meanDifference(noisy, gray(119)), 0.3);
}

TEST(PictureDifference, SmallSpot_CountsInItsPart) {
    BytePicture spot = gray(119);
    for (u64 y = 4; y < 8; ++y)
        for (u64 x = 4; x < 8; ++x)
            spot.pixels[(y * 16 + x) * 4] = 255;
    EXPECT_LT(meanDifference(spot, gray(119)), 6.0);
    EXPECT_GT(largestDifference(spot, gray(119)), 12.0);
}

TEST(PictureDifference, Opacity_Counts) {
    BytePicture clear = gray(119);
    for (u64 i = 3; i < clear.pixels.size(); i += 4)
        clear.pixels[i] = 0;
    EXPECT_GT(meanDifference(clear, gray(119)), 1.0);
}

} // namespace
} // namespace qv::render::tests
