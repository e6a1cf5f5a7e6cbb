#include "render/impl/albedo_table.h"

#include "render/impl/fresnel.h"
#include "render/impl/microfacet.h"
#include "render/impl/sheen.h"
#include "render/impl/stopped.h"

namespace qv::render::impl {

namespace {

// Returns the mean of `value` over evenly spread points of the unit square (Roberts, 2018).
template<class Value>
float meanOver(u32 count, const Value& value) {
    double sum = 0.0;
    for (u32 i = 0; i < count; ++i) {
        const double x = 0.5 + 0.7548776662466927 * i, y = 0.5 + 0.5698402909980532 * i;
        const Vec2 u{static_cast<float>(x - std::floor(x)), static_cast<float>(y - std::floor(y))};
        sum += static_cast<double>(value(u));
    }
    return static_cast<float>(sum / count);
}

// The frame's direction of a cosine; one of exactly 0 would see no mirror at all.
Vec3 directionOf(float cosine) noexcept {
    const float z = std::max(cosine, 1e-4F);
    return {std::sqrt(1.0F - z * z), 0.0F, z};
}

template<class Weight>
float ggxAlbedo(float cosine, float roughness, const Weight& weight) {
    const Vec3 wo = directionOf(cosine);
    const float alpha = std::max(roughness * roughness, leastAlpha);
    return meanOver(256, [&](const Vec2& u) {
        const Vec3 h = sampleVisibleNormal(wo, alpha, u);
        const Vec3 wi = reflected(wo, h);
        if (wi.z <= 0.0F) return 0.0F;
        return weight(dot(wo, h)) * smithBothVisible(wo, wi, alpha) / smithVisible(wo, alpha);
    });
}

float dielectricAlbedo(float cosine, float roughness, float eta) {
    const Vec3 wo = directionOf(cosine);
    const float alpha = std::max(roughness * roughness, leastAlpha);
    return meanOver(256, [&](const Vec2& u) {
        const Vec3 h = sampleVisibleNormal(wo, alpha, u);
        const float f = dielectricReflectance(dot(wo, h), eta);
        const Vec3 mirrored = reflected(wo, h);
        float sum = 0.0F;
        if (mirrored.z > 0.0F)
            sum += f * smithBothVisible(wo, mirrored, alpha) / smithVisible(wo, alpha);
        if (f == 1.0F) return sum;
        const Vec3 bent = refracted(wo, h, eta);
        return bent.z < 0.0F ? sum + (1.0F - f) * smithVisible(bent, alpha) : sum;
    });
}

} // namespace

const GgxTables& ggxTables(const std::stop_token& stop) {
    static const GgxTables tables{
        AlbedoTable([&stop](float cosine, float roughness) {
            endIfStopped(stop);
            return ggxAlbedo(cosine, roughness, [](float c) { return 1.0F - grazingWeight(c); });
        }),
        AlbedoTable([&stop](float cosine, float roughness) {
            endIfStopped(stop);
            return ggxAlbedo(cosine, roughness, grazingWeight);
        })};
    return tables;
}

const AlbedoTable& sheenTable(const std::stop_token& stop) {
    static const AlbedoTable table([&stop](float cosine, float roughness) {
        endIfStopped(stop);
        const Vec3 wo = directionOf(cosine);
        return meanOver(512, [&](const Vec2& u) {
            const Vec3 wi = inCosineHemisphere(u);
            return wi.z > 0.0F ? pi * sheenValue(wo, wi, sheenAlpha(roughness)) : 0.0F;
        });
    });
    return table;
}

AlbedoTable makeDielectricTable(float eta, const std::stop_token& stop) {
    return AlbedoTable([eta, &stop](float cosine, float roughness) {
        endIfStopped(stop);
        return dielectricAlbedo(cosine, roughness, eta);
    });
}

} // namespace qv::render::impl
