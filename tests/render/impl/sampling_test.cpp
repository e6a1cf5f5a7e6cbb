#include "render/impl/sampling.h"

#include "render/impl/random.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

constexpr u32 count = 20000;

// Returns the mean of a function of two random numbers.
template<class Value>
Vec3 meanOf(const Value& value) {
    Vec3 sum;
    for (u32 i = 0; i < count; ++i) {
        Random random(1, i);
        sum += value(random.nextPair());
    }
    return sum / static_cast<float>(count);
}

TEST(Sampling, CosineHemisphere_HasTheMomentsOfACosine) {
    const Vec3 mean = meanOf(inCosineHemisphere);
    EXPECT_NEAR(mean.x, 0.0F, 0.02F);
    EXPECT_NEAR(mean.z, 2.0F / 3.0F, 0.01F);
    const Vec3 squares =
        meanOf([](const Vec2& u) { return sqr(inCosineHemisphere(u).z) * gray(1); });
    EXPECT_NEAR(squares.x, 0.5F, 0.01F);
}

TEST(Sampling, Cone_IsEvenlyFilled) {
    const Vec3 mean = meanOf([](const Vec2& u) { return inCone(0.5F, u); });
    EXPECT_NEAR(mean.y, 0.0F, 0.02F);
    EXPECT_NEAR(mean.z, 0.75F, 0.01F);
    EXPECT_FLOAT_EQ(coneSolidAngle(2.0F), 4.0F * pi);
}

TEST(Sampling, Disc_IsEvenlyFilled) {
    const Vec3 mean = meanOf([](const Vec2& u) {
        const Vec2 p = inDisc(u);
        return Vec3{p.x, p.y, p.x * p.x + p.y * p.y};
    });
    EXPECT_NEAR(mean.x, 0.0F, 0.02F);
    EXPECT_NEAR(mean.z, 0.5F, 0.01F);
}

TEST(Sampling, Triangle_IsEvenlyFilled) {
    const Vec3 mean = meanOf([](const Vec2& u) {
        const Vec2 w = inTriangle(u);
        EXPECT_TRUE(w.x >= 0.0F && w.y >= 0.0F && w.x + w.y <= 1.00001F);
        return Vec3{w.x, w.y, w.x * w.x};
    });
    EXPECT_NEAR(mean.x, 1.0F / 3.0F, 0.01F);
    EXPECT_NEAR(mean.y, 1.0F / 3.0F, 0.01F);
    EXPECT_NEAR(mean.z, 1.0F / 6.0F, 0.01F);
}

TEST(Sampling, MisWeights_AddUpToOne) {
    for (const float a : {1e-6F, 0.5F, 3.0F, 1e6F})
        EXPECT_NEAR(misWeight(a, 0.7F) + misWeight(0.7F, a), 1.0F, 1e-6F) << a;
    EXPECT_EQ(misWeight(1.0F, 0.0F), 1.0F);
    EXPECT_EQ(misWeight(std::numeric_limits<float>::infinity(), 1.0F), 1.0F);
}

} // namespace
} // namespace qv::render::impl
