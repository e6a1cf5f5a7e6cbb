#pragma once

#include "render/impl/vec3.h"

namespace qv::render::impl {

// The soft shine of cloth (Estevez and Kulla, 2017), with the visibility of Ashikhmin and Premoze
// (2007).

/// With a smaller one, cloth would return more light than it gets.
inline constexpr float leastSheenAlpha = 0.1F;

/// Returns the reflection of cloth of colour 1, without the cosine.
[[nodiscard]] inline float sheenValue(const Vec3& wo, const Vec3& wi, float alpha) noexcept {
    const Vec3 h = normalized(wo + wi);
    const float sine = std::sqrt(std::max(0.0F, 1.0F - h.z * h.z));
    const float density = (2.0F + 1.0F / alpha) * std::pow(sine, 1.0F / alpha) / (2.0F * pi);
    return density / (4.0F * (wo.z + wi.z - wo.z * wi.z));
}

[[nodiscard]] inline float sheenAlpha(float roughness) noexcept {
    return std::max(roughness * roughness, leastSheenAlpha);
}

} // namespace qv::render::impl
