#pragma once

#include "kelvo/base/types.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qv::render::impl {

inline constexpr float pi = std::numbers::pi_v<float>;

/// A direction, a point or a linear colour.
struct Vec3 {
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;

    constexpr Vec3& operator+=(const Vec3& b) noexcept {
        x += b.x, y += b.y, z += b.z;
        return *this;
    }
    constexpr Vec3& operator*=(const Vec3& b) noexcept {
        x *= b.x, y *= b.y, z *= b.z;
        return *this;
    }
    constexpr Vec3& operator*=(float s) noexcept { return *this *= Vec3{s, s, s}; }
    [[nodiscard]] constexpr bool operator==(const Vec3&) const noexcept = default;
};

[[nodiscard]] constexpr Vec3 operator+(Vec3 a, const Vec3& b) noexcept {
    return a += b;
}
[[nodiscard]] constexpr Vec3 operator-(const Vec3& a) noexcept {
    return {-a.x, -a.y, -a.z};
}
[[nodiscard]] constexpr Vec3 operator-(const Vec3& a, const Vec3& b) noexcept {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] constexpr Vec3 operator*(Vec3 a, const Vec3& b) noexcept {
    return a *= b;
}
[[nodiscard]] constexpr Vec3 operator*(Vec3 a, float s) noexcept {
    return a *= s;
}
[[nodiscard]] constexpr Vec3 operator*(float s, Vec3 a) noexcept {
    return a *= s;
}
[[nodiscard]] constexpr Vec3 operator/(const Vec3& a, float s) noexcept {
    return {a.x / s, a.y / s, a.z / s};
}
[[nodiscard]] constexpr Vec3 gray(float s) noexcept {
    return {s, s, s};
}
[[nodiscard]] constexpr float dot(const Vec3& a, const Vec3& b) noexcept {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] constexpr Vec3 cross(const Vec3& a, const Vec3& b) noexcept {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline float length(const Vec3& a) noexcept {
    return std::sqrt(dot(a, a));
}
[[nodiscard]] inline bool isFinite(const Vec3& a) noexcept {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}
/// Returns the direction of length 1; `fallback` when there is none.
[[nodiscard]] inline Vec3 normalized(const Vec3& a, const Vec3& fallback = {0, 0, 1}) noexcept {
    const float size = length(a);
    return size > 0.0F && std::isfinite(size) ? a / size : fallback;
}
[[nodiscard]] constexpr float largest(const Vec3& a) noexcept {
    return std::max({a.x, a.y, a.z});
}
/// Returns the luminance of a colour with the primaries of sRGB.
[[nodiscard]] constexpr float luminance(const Vec3& a) noexcept {
    return 0.2126F * a.x + 0.7152F * a.y + 0.0722F * a.z;
}
[[nodiscard]] constexpr Vec3 mix(const Vec3& a, const Vec3& b, float t) noexcept {
    return a * (1.0F - t) + b * t;
}
[[nodiscard]] constexpr float sqr(float a) noexcept {
    return a * a;
}

struct Vec2 {
    float x = 0.0F;
    float y = 0.0F;

    [[nodiscard]] constexpr bool operator==(const Vec2&) const noexcept = default;
};

/// Three directions at right angles, each of length 1, and coordinates along them.
struct Frame {
    Vec3 x;
    Vec3 y;
    Vec3 z;

    /// Makes a frame around its z axis, which has length 1 (Duff et al., 2017).
    [[nodiscard]] static Frame around(const Vec3& z) noexcept {
        const float sign = std::copysign(1.0F, z.z);
        const float a = -1.0F / (sign + z.z);
        const float b = z.x * z.y * a;
        return {{1.0F + sign * z.x * z.x * a, sign * b, -sign * z.x},
                {b, sign + z.y * z.y * a, -z.y},
                z};
    }
    [[nodiscard]] Vec3 toLocal(const Vec3& v) const noexcept {
        return {dot(v, x), dot(v, y), dot(v, z)};
    }
    [[nodiscard]] Vec3 toWorld(const Vec3& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
};

} // namespace qv::render::impl
