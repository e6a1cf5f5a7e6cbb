#pragma once

#include "kelvo/base/math.h"
#include "render/impl/vec3.h"

namespace qv::render::impl {

/// An affine transform: the images of the three axes, and of the origin.
struct Transform {
    Vec3 x{1, 0, 0};
    Vec3 y{0, 1, 0};
    Vec3 z{0, 0, 1};
    Vec3 origin;

    Transform() = default;
    explicit Transform(const math::Mat4d& m) noexcept
        : x(row(m, 0)), y(row(m, 1)), z(row(m, 2)), origin(row(m, 3)) {}

    [[nodiscard]] Vec3 vector(const Vec3& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
    [[nodiscard]] Vec3 point(const Vec3& p) const noexcept { return vector(p) + origin; }
    /// Returns the volume of the image of a cube of volume 1, negative for a mirror image.
    [[nodiscard]] float determinant() const noexcept { return dot(cross(x, y), z); }
    /// Transforms a normal; the result has any length, and the side of the normal.
    [[nodiscard]] Vec3 normal(const Vec3& n) const noexcept {
        const Vec3 image = cross(y, z) * n.x + cross(z, x) * n.y + cross(x, y) * n.z;
        return determinant() < 0.0F ? -image : image;
    }
    /// Transforms a vector back.
    [[nodiscard]] Vec3 inverseVector(const Vec3& v) const noexcept {
        return Vec3{dot(cross(y, z), v), dot(cross(z, x), v), dot(cross(x, y), v)} / determinant();
    }
    [[nodiscard]] bool operator==(const Transform&) const noexcept = default;

private:
    static Vec3 row(const math::Mat4d& m, u64 i) noexcept {
        return {static_cast<float>(m[i][0]), static_cast<float>(m[i][1]),
                static_cast<float>(m[i][2])};
    }
};

/// Tells whether points can be transformed there and back: all numbers are finite as floats, and
/// space does not collapse.
[[nodiscard]] inline bool isUsable(const Transform& t) noexcept {
    if (!isFinite(t.x) || !isFinite(t.y) || !isFinite(t.z) || !isFinite(t.origin)) return false;
    const float volume = std::abs(t.determinant());
    const float extent = length(t.x) * length(t.y) * length(t.z);
    return std::isnormal(volume) && std::isfinite(extent) && volume > 1e-6F * extent;
}

} // namespace qv::render::impl
