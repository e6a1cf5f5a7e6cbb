#pragma once

#include "render/impl/render_scene.h"

namespace qv::render::impl {

/// Instances that are near each other.
struct InstanceGroup {
    /// A number of the region of space, which no other group has.
    u64 region = 0;
    /// The positions of the instances, ascending.
    std::vector<u32> numbers;
};

/// More instances are split, unless they are all at one place.
inline constexpr u64 mostInGroup = 4096;

/// Splits instances by the regions of space that they are in. The regions are cubes, cut into
/// eighths where there are many instances, so that an instance that moves changes no groups but
/// those that it leaves and enters. One that is larger than the eighths of a cube is in a group of
/// the cube itself. The groups depend on the bounds of the instances alone; few instances, or none,
/// are one group.
[[nodiscard]] std::vector<InstanceGroup> groupsOf(const std::vector<Instance>& instances);

} // namespace qv::render::impl
