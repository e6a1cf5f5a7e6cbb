#include "render/impl/distribution.h"

#include "render/impl/random.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

TEST(Distribution, Picks_FollowTheWeights) {
    const float weights[] = {0.0F, 1.0F, 0.0F, 3.0F, 0.0F};
    const Distribution distribution(weights);
    const struct {
        float u;
        u64 index;
        float rest;
    } cases[] = {{0.0F, 1, 0.0F}, {0.125F, 1, 0.5F}, {0.25F, 3, 0.0F}, {0.625F, 3, 0.5F}};
    for (const auto& [u, index, rest] : cases) {
        const Distribution::Pick pick = distribution.pick(u);
        EXPECT_EQ(pick.index, index) << u;
        EXPECT_EQ(pick.rest, rest) << u;
        EXPECT_EQ(pick.chance, distribution.chance(index)) << u;
    }
    EXPECT_EQ(distribution.pick(0x1.fffffep-1F).index, 3U);
    EXPECT_EQ(distribution.pick(1.0F).index, 3U);
    EXPECT_EQ(distribution.chance(3), 0.75F);
    EXPECT_EQ(distribution.chance(0), 0.0F);
}

TEST(Distribution, WeightsOfZero_CountAsEqual) {
    const Distribution distribution(std::vector<float>(4, 0.0F));
    EXPECT_EQ(distribution.chance(2), 0.25F);
    EXPECT_EQ(distribution.pick(0.6F).index, 2U);
}

TEST(Distribution2D, Density_IsThatOfThePicks) {
    const float weights[] = {1, 0, 2, 4, 0, 1};
    const Distribution2D distribution(weights, 3);
    u32 counts[6]{};
    constexpr u32 count = 40000;
    for (u32 i = 0; i < count; ++i) {
        Random random(1, i);
        const Distribution2D::Pick pick = distribution.pick(random.nextPair());
        EXPECT_EQ(pick.density, distribution.density(pick.at));
        ++counts[static_cast<u32>(pick.at.y * 2.0F) * 3 + static_cast<u32>(pick.at.x * 3.0F)];
    }
    for (u32 i = 0; i < 6; ++i) {
        EXPECT_NEAR(counts[i] / static_cast<double>(count), static_cast<double>(weights[i]) / 8.0,
                    0.01);
    }
    EXPECT_FLOAT_EQ(distribution.density({0.1F, 0.7F}), 6.0F * 4.0F / 8.0F);
}

} // namespace
} // namespace qv::render::impl
