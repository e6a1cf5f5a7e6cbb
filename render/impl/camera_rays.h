#pragma once

#include "render/impl/accel.h"

namespace qv::render::impl {

/// The rays from a camera through the pixels of a picture. A camera that has an aspect sees all of
/// its field, and more where the picture has another aspect; pixels are always square.
class CameraRays {
public:
    CameraRays(const Camera& camera, u32 width, u32 height) noexcept
        : m_camera(camera), m_isFlat(camera.orthographicWidth > 0.0F) {
        const float w = static_cast<float>(width), h = static_cast<float>(height);
        const float halfWidth =
            m_isFlat ? camera.orthographicWidth / 2.0F : std::tan(camera.horizontalFov / 2.0F);
        const float aspect = w / h;
        const bool isWider = camera.aspect > 0.0F && aspect > camera.aspect;
        m_half = {isWider ? halfWidth / camera.aspect * aspect : halfWidth, 0.0F};
        m_half.y = m_half.x / aspect;
        m_scale = {2.0F / w, 2.0F / h};
    }

    /// Returns the ray through a point of the picture, in pixels from the upper left corner.
    [[nodiscard]] Ray at(float x, float y) const noexcept {
        const float right = (x * m_scale.x - 1.0F) * m_half.x;
        const float up = (1.0F - y * m_scale.y) * m_half.y;
        const Transform& place = m_camera.place;
        if (m_isFlat) return {place.point({right, up, 0}), -place.z, m_camera.near, m_camera.far};
        const Vec3 direction{right, up, -1.0F};
        // Distances along the ray are longer than those along the axis.
        const float stretch = length(direction);
        return {place.origin, place.vector(direction) / stretch, m_camera.near * stretch,
                m_camera.far * stretch};
    }
    /// Returns the distance of a point along the axis of the camera.
    [[nodiscard]] float depth(const Vec3& point) const noexcept {
        return -dot(point - m_camera.place.origin, m_camera.place.z);
    }

private:
    Camera m_camera;
    bool m_isFlat;
    Vec2 m_half;
    Vec2 m_scale;
};

} // namespace qv::render::impl
