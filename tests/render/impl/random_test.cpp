#include "render/impl/random.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

TEST(Random, PixelAndSample_GiveTheNumbers) {
    Random a(5, 9), b(5, 9), otherPixel(6, 9), otherSample(5, 10);
    const float first = a.next();
    EXPECT_EQ(first, b.next());
    EXPECT_NE(first, otherPixel.next());
    EXPECT_NE(first, otherSample.next());
    EXPECT_NE(first, a.next());
}

TEST(Random, Numbers_AreEvenlySpreadOverPixelsAndSamples) {
    constexpr u32 count = 40000, cells = 8;
    u32 counts[cells][cells]{};
    double sum = 0.0;
    for (u32 i = 0; i < count; ++i) {
        Random random(i % 200, i / 200);
        const Vec2 u = random.nextPair();
        ASSERT_TRUE(u.x >= 0.0F && u.x < 1.0F && u.y >= 0.0F && u.y < 1.0F);
        sum += static_cast<double>(u.x);
        ++counts[static_cast<u32>(u.x * cells)][static_cast<u32>(u.y * cells)];
    }
    EXPECT_NEAR(sum / count, 0.5, 0.01);
    double chi2 = 0.0;
    constexpr double expected = static_cast<double>(count) / (cells * cells);
    for (const auto& row : counts)
        for (const u32 n : row)
            chi2 += (n - expected) * (n - expected) / expected;
    EXPECT_LT(chi2, 110.0); // 63 degrees of freedom; one run of 5000 is above
}

} // namespace
} // namespace qv::render::impl
