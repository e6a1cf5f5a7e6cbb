#pragma once

#include "render/impl/vec3.h"

namespace qv::render::impl {

/// The colour of a light on surfaces, and in mirrors, where some lights have another one.
struct LightColor {
    Vec3 plain;
    Vec3 mirrored;

    LightColor() = default;
    LightColor(const Vec3& color) noexcept : plain(color), mirrored(color) {}
    LightColor(const Vec3& onSurfaces, const Vec3& inMirrors) noexcept
        : plain(onSurfaces), mirrored(inMirrors) {}

    [[nodiscard]] bool isBlack() const noexcept { return *this == LightColor(); }
    /// Returns the greater of both in each channel.
    [[nodiscard]] Vec3 most() const noexcept {
        return {std::max(plain.x, mirrored.x), std::max(plain.y, mirrored.y),
                std::max(plain.z, mirrored.z)};
    }
    /// Returns the colour on a surface that mirrors this share of it.
    [[nodiscard]] Vec3 at(const Vec3& mirror) const noexcept {
        return plain + (mirrored - plain) * mirror;
    }
    [[nodiscard]] bool operator==(const LightColor&) const noexcept = default;
};

[[nodiscard]] inline LightColor operator*(const LightColor& a, float s) noexcept {
    return {a.plain * s, a.mirrored * s};
}
[[nodiscard]] inline LightColor operator*(const LightColor& a, const Vec3& b) noexcept {
    return {a.plain * b, a.mirrored * b};
}
[[nodiscard]] inline LightColor operator/(const LightColor& a, float s) noexcept {
    return {a.plain / s, a.mirrored / s};
}

} // namespace qv::render::impl
