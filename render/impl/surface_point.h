#pragma once

#include "render/impl/accel.h"
#include "render/impl/bsdf.h"

namespace qv::render::impl {

/// A material with the tables that it needs.
struct PreparedMaterial {
    std::shared_ptr<const Material> material;
    /// Of a body that refracts light, seen from outside and from inside.
    std::shared_ptr<const AlbedoTable> outside;
    std::shared_ptr<const AlbedoTable> inside;
};
/// A stop throws `Stopped`.
[[nodiscard]] PreparedMaterial prepared(const std::shared_ptr<const Material>& material,
                                        const std::stop_token& stop = {});

/// A point where a ray meets a surface.
struct SurfacePoint {
    Vec3 position;
    /// Of the triangle, on the side where the ray comes from.
    Vec3 faceNormal;
    /// Around the normal that light is scattered by, on the same side.
    Frame frame;
    bool isFront = true;
    /// How far a new ray starts from the surface, so that it does not meet it again.
    float gap = 0.0F;
    float opacity = 1.0F;
    Vec3 emission;
    SurfaceValues values;

    /// Returns a ray that leaves the point.
    [[nodiscard]] Ray ray(const Vec3& direction) const noexcept {
        const float side = dot(direction, faceNormal) > 0.0F ? gap : -gap;
        return {position + faceNormal * side, direction};
    }
};

/// Returns the point that a ray has met.
[[nodiscard]] SurfacePoint surfaceAt(const Instance& instance, const PreparedMaterial& prepared,
                                     const Ray& ray, const Hit& hit) noexcept;
/// Returns the light that the point there emits towards the start of the ray, by its opacity.
[[nodiscard]] Vec3 emissionAt(const Instance& instance, const Ray& ray, const Hit& hit) noexcept;
/// Returns the opacity there alone.
[[nodiscard]] float opacityAt(const Instance& instance, const Hit& hit) noexcept;

/// Returns the corners of a triangle in the world.
[[nodiscard]] std::array<Vec3, 3> worldCorners(const Instance& instance, u32 triangle) noexcept;

} // namespace qv::render::impl
