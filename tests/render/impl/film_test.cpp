#include "render/impl/film.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

PixelSample bright(float level, float depth = 1.0F) {
    PixelSample sample;
    sample.color = gray(level);
    sample.alpha = 1.0F;
    sample.albedo = gray(level / 2.0F);
    sample.normal = {0, 0, 1};
    sample.depth = depth;
    sample.node = static_cast<kelvo_sdk::NodeNumber>(depth);
    return sample;
}

TEST(Film, Pixel_IsTheMeanOfItsSamples) {
    Film film(2, 1);
    film.add(1, 0, bright(1));
    film.add(1, 0, bright(3));
    const Picture picture = film.picture();
    EXPECT_EQ(picture.color[4], 2.0F);
    EXPECT_EQ(picture.color[7], 1.0F);
    EXPECT_EQ(picture.albedo[3], 1.0F);
    EXPECT_EQ(picture.normal[5], 1.0F);
    EXPECT_EQ(picture.samples, (std::vector<u32>{0, 2}));
    EXPECT_EQ(picture.color[0], 0.0F);
    EXPECT_TRUE(std::isinf(picture.depth[0]));
}

TEST(Film, DepthAndNode_AreThoseOfTheFirstSample) {
    Film film(1, 1);
    film.add(0, 0, bright(1, 7));
    film.add(0, 0, bright(1, 3));
    EXPECT_EQ(film.picture().depth[0], 7.0F);
    EXPECT_EQ(film.picture().node[0], 7U);
}

TEST(Film, Tiles_CoverEachPixelOnce) {
    const Film film(37, 20);
    std::vector<u32> visits(37 * 20);
    for (u32 tile = 0; tile < film.tileCount(); ++tile)
        film.visitTile(tile, [&](u32 x, u32 y) {
            ++visits.at(y * 37 + x);
            return true;
        });
    EXPECT_EQ(visits, std::vector<u32>(37 * 20, 1));
}

TEST(Film, Noise_IsTheStandardErrorByTheBrightness) {
    Film film(1, 1);
    // Half of 16 samples are 1, half 3: their mean is 2, their deviation 1.
    for (u32 i = 0; i < 16; ++i)
        film.add(0, 0, bright(i % 2 == 0 ? 1.0F : 3.0F));
    EXPECT_NEAR(film.noiseOf(0), 1.0 / 4.0 / 2.0, 1e-6);
    Film even(1, 1);
    even.add(0, 0, bright(2));
    EXPECT_NEAR(even.noiseOf(0), 0.0, 1e-3);
}

TEST(Film, ManySamples_KeepTheirPrecision) {
    Film film(1, 1);
    for (u32 i = 0; i < 1000000; ++i)
        film.add(0, 0, bright(0.1F));
    EXPECT_NEAR(film.picture().color[0], 0.1F, 1e-7F);
}

} // namespace
} // namespace qv::render::impl
