#include "render/impl/texture.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

// Black, dark, bright, white from left to right.
Texture row(Filter filter) {
    Texture texture;
    texture.width = 4;
    texture.height = 1;
    texture.filter = filter;
    texture.isSrgb = false;
    for (const float value : {0.0F, 0.25F, 0.75F, 1.0F})
        texture.floats.insert(texture.floats.end(), {value, value, value, 1.0F});
    return texture;
}

TEST(Texture, WrapModes_SayWhatIsOutside) {
    const struct {
        Wrap wrap;
        float u;
        float expected;
    } cases[] = {
        {Wrap::Repeat, 0.3F, 0.25F},  {Wrap::Repeat, 1.3F, 0.25F}, {Wrap::Repeat, -0.1F, 1.0F},
        {Wrap::Clamp, 1.3F, 1.0F},    {Wrap::Clamp, -7.0F, 0.0F},  {Wrap::Mirror, 1.3F, 0.75F},
        {Wrap::Mirror, -0.3F, 0.25F}, {Wrap::Mirror, 2.3F, 0.25F}, {Wrap::Decal, 0.3F, 0.25F},
        {Wrap::Decal, 1.3F, 1.0F},    {Wrap::Repeat, 1e30F, 0.0F}, {Wrap::Repeat, NAN, 0.0F},
    };
    for (const auto& [wrap, u, expected] : cases)
        EXPECT_EQ(row(Filter::Nearest).at(u, 0.5F, wrap, Wrap::Repeat).color.x, expected)
            << u << " " << static_cast<u32>(wrap);
}

TEST(Texture, LinearFilter_MixesNeighbours) {
    const Texture texture = row(Filter::Linear);
    const struct {
        float u;
        float expected;
    } cases[] = {{0.125F, 0.0F}, {0.25F, 0.125F}, {0.5F, 0.5F}, {0.875F, 1.0F}, {1.0F, 1.0F}};
    for (const auto& [u, expected] : cases)
        EXPECT_FLOAT_EQ(texture.at(u, 0.5F, Wrap::Clamp, Wrap::Clamp).color.x, expected) << u;
}

TEST(Texture, CubicFilter_KeepsAConstant) {
    Texture texture = row(Filter::Cubic);
    texture.floats.assign(16, 0.5F);
    for (const float u : {0.0F, 0.1F, 0.37F, 0.5F, 0.99F})
        EXPECT_FLOAT_EQ(texture.at(u, 0.3F, Wrap::Repeat, Wrap::Repeat).color.y, 0.5F) << u;
}

TEST(Texture, FirstRow_IsTheUpperOne) {
    Texture texture = row(Filter::Nearest);
    texture.width = 1;
    texture.height = 4;
    EXPECT_EQ(texture.at(0.5F, 0.99F, Wrap::Clamp, Wrap::Clamp).color.x, 0.0F);
    EXPECT_EQ(texture.at(0.5F, 0.01F, Wrap::Clamp, Wrap::Clamp).color.x, 1.0F);
}

TEST(Texture, Bytes_AreDecodedByTheirColorSpace) {
    Texture texture;
    texture.width = texture.height = 1;
    texture.bytes = {128, 0, 255, 51};
    EXPECT_NEAR(texture.pixel(0, 0).color.x, 0.2158605F, 1e-6F);
    EXPECT_EQ(texture.pixel(0, 0).alpha, 0.2F);
    EXPECT_FLOAT_EQ(texture.pixel(0, 0, Meaning::Numbers).color.x, 128.0F / 255.0F);
    texture.isSrgb = false;
    EXPECT_FLOAT_EQ(texture.pixel(0, 0).color.x, 128.0F / 255.0F);
}

TEST(Texture, SrgbEncoding_ReadsBack) {
    for (const float value : {0.0F, 0.001F, 0.0031308F, 0.2F, 0.5F, 1.0F})
        EXPECT_NEAR(linearFromSrgb(srgbFromLinear(value)), value, 1e-6F) << value;
    EXPECT_NEAR(srgbFromLinear(0.5F), 0.735357F, 1e-5F);
}

} // namespace
} // namespace qv::render::impl
