#pragma once

#include "render/impl/vec3.h"

namespace qv::render::impl {

/// Returns the share of light that a surface reflects head on; `ior` is that of the inside.
[[nodiscard]] constexpr float normalReflectance(float ior) noexcept {
    return sqr((ior - 1.0F) / (ior + 1.0F));
}

/// Returns Schlick's weight (1994) of the reflectance at grazing angles.
[[nodiscard]] constexpr float grazingWeight(float cosine) noexcept {
    const float m = std::clamp(1.0F - cosine, 0.0F, 1.0F);
    return sqr(sqr(m)) * m;
}

/// Returns the reflectance at grazing angles: 1, except for materials that hardly differ from the
/// air around them.
[[nodiscard]] constexpr float grazingReflectance(float f0) noexcept {
    return std::min(1.0F, 50.0F * f0);
}

/// Returns the mean of Schlick's reflectance over all directions, by their cosine.
[[nodiscard]] constexpr Vec3 meanReflectance(const Vec3& f0, float f90) noexcept {
    return f0 * (20.0F / 21.0F) + gray(f90 / 21.0F);
}

/// Returns the exact reflectance of a surface; `eta` is the index behind it by that in front.
[[nodiscard]] inline float dielectricReflectance(float cosine, float eta) noexcept {
    const float sinInside2 = (1.0F - cosine * cosine) / (eta * eta);
    if (sinInside2 >= 1.0F) return 1.0F;
    const float inside = std::sqrt(1.0F - sinInside2);
    const float parallel = (eta * cosine - inside) / (eta * cosine + inside);
    const float across = (cosine - eta * inside) / (cosine + eta * inside);
    return 0.5F * (parallel * parallel + across * across);
}

} // namespace qv::render::impl
