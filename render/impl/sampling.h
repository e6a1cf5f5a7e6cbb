#pragma once

#include "render/impl/vec3.h"

namespace qv::render::impl {

// Each function takes two random numbers from 0 to 1 and returns a point that is evenly distributed
// over what its name says.

[[nodiscard]] inline Vec2 onCircle(float u) noexcept {
    const float angle = 2.0F * pi * u;
    return {std::cos(angle), std::sin(angle)};
}

[[nodiscard]] inline Vec2 inDisc(const Vec2& u) noexcept {
    const float r = std::sqrt(u.x);
    const Vec2 p = onCircle(u.y);
    return {r * p.x, r * p.y};
}

/// Returns a direction around z, with a density of cos / pi.
[[nodiscard]] inline Vec3 inCosineHemisphere(const Vec2& u) noexcept {
    const Vec2 p = inDisc(u);
    return {p.x, p.y, std::sqrt(std::max(0.0F, 1.0F - u.x))};
}

/// Returns a direction around z whose cosine is at least `cosMost`; -1 stands for the whole sphere.
[[nodiscard]] inline Vec3 inCone(float cosMost, const Vec2& u) noexcept {
    const float z = 1.0F - u.x * (1.0F - cosMost);
    const float r = std::sqrt(std::max(0.0F, 1.0F - z * z));
    const Vec2 p = onCircle(u.y);
    return {r * p.x, r * p.y, z};
}

/// Returns the solid angle of a cone, from 1 - cos, which small cones give precisely.
[[nodiscard]] inline float coneSolidAngle(float oneMinusCos) noexcept {
    return 2.0F * pi * oneMinusCos;
}

/// Returns the weights of the second and third corner of a triangle.
[[nodiscard]] inline Vec2 inTriangle(const Vec2& u) noexcept {
    const float root = std::sqrt(u.x);
    return {root * (1.0F - u.y), root * u.y};
}

/// Returns the weight of one of two ways to take a sample (Veach, 1997): the power heuristic.
[[nodiscard]] inline float misWeight(float pdf, float otherPdf) noexcept {
    if (std::isinf(pdf)) return 1.0F;
    const float ratio = otherPdf / pdf;
    return 1.0F / (1.0F + ratio * ratio);
}

} // namespace qv::render::impl
