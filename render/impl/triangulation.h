#pragma once

#include "render/impl/vec3.h"

#include <array>
#include <span>
#include <stop_token>
#include <vector>

namespace qv::render::impl {

using Triangle = std::array<u32, 3>;

/// Returns a normal of a polygon, whose length is twice the area.
[[nodiscard]] Vec3 polygonNormal(std::span<const Vec3> corners) noexcept;

/// Appends the triangles of a polygon as positions in `corners`, counter-clockwise as the polygon
/// is. A concave polygon is cut at its ears. One that crosses itself, or has more than
/// `mostEarCorners` corners and is concave, is cut as a fan. A stop throws `Stopped`.
void triangulate(std::span<const Vec3> corners, std::vector<Triangle>& triangles,
                 const std::stop_token& stop = {});

inline constexpr u64 mostEarCorners = 4096;

} // namespace qv::render::impl
