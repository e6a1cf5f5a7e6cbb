#include "render/impl/microfacet.h"

#include "render/impl/fresnel.h"
#include "render/impl/random.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

// Returns the integral of a function over the directions above the surface.
template<class Value>
float integral(const Value& value) {
    constexpr u32 count = 100000;
    double sum = 0.0;
    for (u32 i = 0; i < count; ++i) {
        Random random(1, i);
        sum += static_cast<double>(value(inCone(0.0F, random.nextPair())));
    }
    return static_cast<float>(sum / count) * 2.0F * pi;
}

TEST(Microfacet, MirrorsSeenFromAbove_CoverTheSurface) {
    for (const float alpha : {0.3F, 0.6F, 1.0F})
        EXPECT_NEAR(integral([&](const Vec3& h) { return ggxDensity(h, alpha) * h.z; }), 1.0F,
                    0.02F);
}

TEST(Microfacet, VisibleMirrors_CoverTheSurfaceSeenFromAnywhere) {
    for (const float cosine : {0.2F, 0.6F, 1.0F}) {
        const Vec3 wo{std::sqrt(1.0F - cosine * cosine), 0.0F, cosine};
        EXPECT_NEAR(integral([&](const Vec3& h) { return visibleNormalPdf(wo, h, 0.5F); }), 1.0F,
                    0.02F);
    }
}

TEST(Microfacet, SampledNormals_HaveTheirDensity) {
    const Vec3 wo = normalized({0.8F, 0.0F, 0.4F});
    const float expected =
        integral([&](const Vec3& h) { return h.x > 0.3F ? visibleNormalPdf(wo, h, 0.5F) : 0.0F; });
    float share = 0.0F;
    constexpr u32 count = 50000;
    for (u32 i = 0; i < count; ++i) {
        Random random(2, i);
        const Vec3 h = sampleVisibleNormal(wo, 0.5F, random.nextPair());
        EXPECT_NEAR(length(h), 1.0F, 1e-5F);
        if (h.x > 0.3F) share += 1.0F / count;
    }
    EXPECT_NEAR(share, expected, 0.02F);
}

TEST(Microfacet, RefractedDirection_FollowsSnellsLaw) {
    const Vec3 wi = refracted({0.6F, 0.0F, 0.8F}, {0, 0, 1}, 1.5F);
    EXPECT_NEAR(wi.x, -0.4F, 1e-6F);
    EXPECT_NEAR(length(wi), 1.0F, 1e-6F);
    EXPECT_LT(wi.z, 0.0F);
    EXPECT_EQ(reflected({0.6F, 0.0F, 0.8F}, {0, 0, 1}), (Vec3{-0.6F, 0.0F, 0.8F}));
}

TEST(Fresnel, Reflectance_HasKnownValues) {
    EXPECT_NEAR(normalReflectance(1.5F), 0.04F, 1e-7F);
    EXPECT_NEAR(dielectricReflectance(1.0F, 1.5F), 0.04F, 1e-6F);
    EXPECT_NEAR(dielectricReflectance(1.0F, 1.0F / 1.5F), 0.04F, 1e-6F);
    EXPECT_NEAR(dielectricReflectance(0.0F, 1.5F), 1.0F, 1e-6F);
    EXPECT_EQ(dielectricReflectance(0.5F, 1.0F / 1.5F), 1.0F);
    EXPECT_EQ(grazingWeight(0.0F), 1.0F);
    EXPECT_EQ(grazingWeight(1.0F), 0.0F);
    EXPECT_NEAR(meanReflectance(gray(1), 1.0F).x, 1.0F, 1e-6F);
    EXPECT_NEAR(meanReflectance(gray(0), 1.0F).x, 1.0F / 21.0F, 1e-7F);
}

} // namespace
} // namespace qv::render::impl
