#pragma once

#include "render/impl/transform.h"

namespace qv::render::impl {

/// Returns the axes of something that looks along -z, y being as near to `up` as possible.
[[nodiscard]] inline Frame lookFrame(const Vec3& direction, const Vec3& up) noexcept {
    const Vec3 z = -normalized(direction, {0, 0, -1});
    const Vec3 side = cross(up, z);
    const Vec3 x = normalized(length(side) > 1e-6F * length(up) ? side : Frame::around(z).x);
    return {x, cross(z, x), z};
}

/// Returns the place in the world of something that stands at `position` in the space of
/// `toWorld`. The axes have the length 1.
[[nodiscard]] inline Transform placeOf(const Transform& toWorld, const Vec3& position,
                                       const Vec3& direction, const Vec3& up) noexcept {
    const Frame frame = lookFrame(toWorld.vector(direction), toWorld.vector(up));
    Transform place;
    place.x = frame.x;
    place.y = frame.y;
    place.z = frame.z;
    place.origin = toWorld.point(position);
    return place;
}

} // namespace qv::render::impl
