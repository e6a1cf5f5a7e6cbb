#include "render/impl/bsdf.h"

#include "render/impl/sampling.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

Vec3 direction(float cosine, float angle = 0.0F) {
    const float sine = std::sqrt(1.0F - cosine * cosine);
    return {sine * std::cos(angle), sine * std::sin(angle), cosine};
}

// Returns the light that a surface in white surroundings returns.
Vec3 furnace(const SurfaceValues& surface, float cosine, u32 count = 40000) {
    const Bsdf bsdf(surface, direction(cosine));
    Vec3 sum;
    for (u32 i = 0; i < count; ++i) {
        Random random(7, i);
        sum += bsdf.sample(random).weight;
    }
    return sum / static_cast<float>(count);
}

// Tables for bodies of glass, seen from outside and from inside.
const AlbedoTable& glassTable(bool isInside) {
    static const AlbedoTable outside = makeDielectricTable(1.5F);
    static const AlbedoTable inside = makeDielectricTable(1.0F / 1.5F);
    return isInside ? inside : outside;
}

SurfaceValues white(float roughness) {
    SurfaceValues surface;
    surface.baseColor = gray(1);
    surface.roughness = roughness;
    return surface;
}

SurfaceValues whiteOf(const char* lobe, float roughness) {
    SurfaceValues surface = white(roughness);
    const std::string name(lobe);
    if (name == "metal") surface.metallic = 1.0F;
    if (name == "half metal") surface.metallic = 0.5F;
    if (name == "coat") {
        surface.clearcoat = 1.0F;
        surface.clearcoatRoughness = roughness;
    }
    if (name == "sheen") {
        surface.sheenColor = gray(1);
        surface.sheenRoughness = roughness;
    }
    if (name == "thin") surface.transmission = 1.0F;
    if (name == "glass" || name == "inside glass" || name == "half glass") {
        const bool isInside = name == "inside glass";
        surface.transmission = name == "half glass" ? 0.5F : 1.0F;
        surface.dielectric = &glassTable(isInside);
        surface.eta = isInside ? 1.0F / 1.5F : 1.5F;
    }
    return surface;
}

constexpr const char* lobes[] = {"dielectric", "metal", "half metal",   "coat",      "sheen",
                                 "thin",       "glass", "inside glass", "half glass"};

TEST(Bsdf, WhiteSurface_ReturnsAllLight) {
    for (const char* lobe : lobes)
        for (const float roughness : {0.0F, 0.2F, 0.5F, 0.77F, 1.0F})
            for (const float cosine : {0.1F, 0.45F, 0.8F, 1.0F})
                EXPECT_NEAR(furnace(whiteOf(lobe, roughness), cosine).y, 1.0F, 0.01F)
                    << lobe << " of roughness " << roughness << " at " << cosine;
}

TEST(Bsdf, ColoredSurface_ReturnsNoMoreThanItsColor) {
    SurfaceValues surface = white(0.5F);
    surface.baseColor = {0.5F, 0.0F, 1.0F};
    const Vec3 dielectric = furnace(surface, 0.8F);
    EXPECT_NEAR(dielectric.z, 1.0F, 0.01F);
    EXPECT_GT(dielectric.y, 0.03F); // the reflection of the mirrors
    EXPECT_LT(dielectric.y, 0.08F);
    surface.metallic = 1.0F;
    const Vec3 metal = furnace(surface, 0.8F);
    EXPECT_NEAR(metal.z, 1.0F, 0.01F);
    EXPECT_NEAR(metal.x, 0.5F, 0.03F);
    EXPECT_LT(metal.y, 0.01F);
}

TEST(Bsdf, Reflection_IsReciprocal) {
    for (const char* lobe : {"dielectric", "metal", "half metal", "thin", "glass"}) {
        SurfaceValues surface = whiteOf(lobe, 0.4F);
        surface.baseColor = {0.9F, 0.5F, 0.2F};
        for (const float a : {0.15F, 0.5F, 0.9F}) {
            const Vec3 wo = direction(a), wi = direction(0.35F, 2.0F);
            const float there = Bsdf(surface, wo).at(wi).color.y / wi.z;
            const float back = Bsdf(surface, wi).at(wo).color.y / wo.z;
            EXPECT_NEAR(there, back, 1e-4F * there) << lobe << " at " << a;
        }
    }
}

TEST(Bsdf, ThinTransmission_IsReciprocal) {
    const SurfaceValues surface = whiteOf("thin", 0.4F);
    const Vec3 wo = direction(0.7F), wi{-0.6F, 0.0F, -0.8F};
    const float there = Bsdf(surface, wo).at(wi).color.y / -wi.z;
    const float back = Bsdf(surface, -wi).at(-wo).color.y / wo.z;
    EXPECT_GT(there, 0.1F);
    EXPECT_NEAR(there, back, 1e-4F * there);
}

TEST(Bsdf, Refraction_IsReciprocalButForTheIndex) {
    const SurfaceValues outside = whiteOf("glass", 0.4F), inside = whiteOf("inside glass", 0.4F);
    const Vec3 wo = direction(0.7F), wi = -direction(0.85F, 0.3F);
    const float there = Bsdf(outside, wo).at(wi).color.y / -wi.z;
    const float back = Bsdf(inside, -wi).at(-wo).color.y / wo.z;
    EXPECT_GT(there, 0.1F);
    EXPECT_NEAR(there / (1.5F * 1.5F), back, 1e-3F * back);
}

TEST(Bsdf, Density_IsThatOfTheSamples) {
    for (const char* lobe : lobes) {
        const SurfaceValues surface = whiteOf(lobe, 0.6F);
        const Bsdf bsdf(surface, direction(0.6F));
        // The integral of the density over a part of the sphere is the share of the samples in it.
        double integral = 0.0, share = 0.0;
        constexpr u32 count = 100000;
        for (u32 i = 0; i < count; ++i) {
            Random random(3, i);
            const Vec3 even = inCone(-1.0F, random.nextPair());
            if (even.x < 0.0F) integral += 4.0 * static_cast<double>(pi * bsdf.at(even).pdf);
            const Bsdf::Sample sample = bsdf.sample(random);
            if (sample.pdf > 0.0F && sample.wi.x < 0.0F) share += 1.0;
        }
        EXPECT_NEAR(integral / count, share / count, 0.02) << lobe;
    }
}

TEST(Bsdf, Sample_HasTheValueOfItsDirection) {
    for (const char* lobe : lobes) {
        const SurfaceValues surface = whiteOf(lobe, 0.3F);
        const Bsdf bsdf(surface, direction(0.6F));
        Random random(1, 2);
        const Bsdf::Sample sample = bsdf.sample(random);
        const Bsdf::Value value = bsdf.at(sample.wi);
        EXPECT_FLOAT_EQ(sample.weight.x * sample.pdf, value.color.x) << lobe;
    }
}

TEST(Bsdf, ClearGlass_BendsLightBySnellsLaw) {
    const SurfaceValues surface = whiteOf("glass", 0.0F);
    const Bsdf bsdf(surface, direction(0.6F));
    u32 refractedCount = 0;
    for (u32 i = 0; i < 100; ++i) {
        Random random(1, i);
        const Vec3 wi = bsdf.sample(random).wi;
        if (wi.z >= 0.0F) continue;
        ++refractedCount;
        EXPECT_NEAR(wi.x, -0.8F / 1.5F, 0.02F);
    }
    EXPECT_GT(refractedCount, 80U);
}

TEST(Bsdf, MirroredPart_IsAllOfMetalAndNoneOfCloth) {
    const Vec3 wo = direction(0.7F), wi = direction(0.6F, 1.0F);
    const SurfaceValues metalSurface = whiteOf("metal", 0.5F);
    const Bsdf::Value metal = Bsdf(metalSurface, wo).at(wi);
    EXPECT_EQ(metal.mirrored, metal.color);
    SurfaceValues dull = whiteOf("sheen", 0.5F);
    dull.ior = 1.0F;
    EXPECT_LT(Bsdf(dull, wo).at(wi).mirrored.x, 1e-4F);
    EXPECT_GT(Bsdf(dull, wo).at(wi).color.x, 0.05F);
}

} // namespace
} // namespace qv::render::impl
