#pragma once

#include "render/impl/sampling.h"

namespace qv::render::impl {

// The GGX distribution of tiny mirrors (Walter et al., 2007) with Smith's shadowing (Heitz, 2014).
// Directions are in a frame whose z axis is the normal. `alpha` is the square of the roughness.

/// A smaller one would be a mirror, whose reflections no light can be sampled for.
inline constexpr float leastAlpha = 1e-3F;

/// Returns the density of mirrors with the normal `h`.
[[nodiscard]] inline float ggxDensity(const Vec3& h, float alpha) noexcept {
    const float e = (h.x * h.x + h.y * h.y) / (alpha * alpha) + h.z * h.z;
    return 1.0F / (pi * alpha * alpha * e * e);
}

[[nodiscard]] inline float smithLambda(const Vec3& w, float alpha) noexcept {
    const float tan2 = (w.x * w.x + w.y * w.y) / (w.z * w.z);
    return 0.5F * (std::sqrt(1.0F + alpha * alpha * tan2) - 1.0F);
}
/// Returns the share of the mirrors that is seen from a direction.
[[nodiscard]] inline float smithVisible(const Vec3& w, float alpha) noexcept {
    return 1.0F / (1.0F + smithLambda(w, alpha));
}
/// Returns the share that is seen from two directions on the same side.
[[nodiscard]] inline float smithBothVisible(const Vec3& a, const Vec3& b, float alpha) noexcept {
    return 1.0F / (1.0F + smithLambda(a, alpha) + smithLambda(b, alpha));
}

/// Returns the normal of a mirror that is seen from `wo` (Dupuy and Benyoub, 2023).
[[nodiscard]] inline Vec3 sampleVisibleNormal(const Vec3& wo, float alpha, const Vec2& u) noexcept {
    const Vec3 stretched = normalized({wo.x * alpha, wo.y * alpha, wo.z});
    const Vec2 p = onCircle(u.x);
    const float z = (1.0F - u.y) * (1.0F + stretched.z) - stretched.z;
    const float r = std::sqrt(std::clamp(1.0F - z * z, 0.0F, 1.0F));
    const Vec3 h = Vec3{r * p.x, r * p.y, z} + stretched;
    return normalized({h.x * alpha, h.y * alpha, std::max(h.z, 1e-9F)});
}
/// Returns the density of the normals that `sampleVisibleNormal` returns.
[[nodiscard]] inline float visibleNormalPdf(const Vec3& wo, const Vec3& h, float alpha) noexcept {
    return smithVisible(wo, alpha) * std::max(0.0F, dot(wo, h)) * ggxDensity(h, alpha) / wo.z;
}

[[nodiscard]] inline Vec3 reflected(const Vec3& w, const Vec3& h) noexcept {
    return h * (2.0F * dot(w, h)) - w;
}
/// Returns the refracted direction, for `eta` as in `dielectricReflectance`, which is less than 1
/// for these directions.
[[nodiscard]] inline Vec3 refracted(const Vec3& w, const Vec3& h, float eta) noexcept {
    const float cosine = dot(w, h);
    const float inside = std::sqrt(std::max(0.0F, 1.0F - (1.0F - cosine * cosine) / (eta * eta)));
    return h * (cosine / eta - inside) - w / eta;
}

} // namespace qv::render::impl
