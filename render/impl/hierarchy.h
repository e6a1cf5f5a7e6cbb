#pragma once

#include "kelvo/base/math.h"
#include "render/impl/finding_list.h"

#include <functional>
#include <stop_token>

namespace qv::render::impl {

inline constexpr u64 mostPlaces = u64{1} << 24;

inline constexpr u32 noPlace = 0xffffffff;

/// Gets a node at one of its places: the product of the matrices from the top down to it, and the
/// place of its parent. Places are counted from 0 as they are visited.
using PlaceVisitor = std::function<void(const kelvo_sdk::SnapshotNode& node,
                                        const math::Mat4d& toWorld, u32 parent)>;

/// Visits all nodes at all their places, those of the hierarchy below their parents. Leaves out
/// what is below an invisible node. Findings tell of cycles, of matrices that cannot be inverted,
/// below which nothing is visited, and of more than `atMost` places. A stop throws `Stopped`.
void visitPlaces(const kelvo_sdk::Snapshot& snapshot, FindingList& findings,
                 const PlaceVisitor& visit, const std::stop_token& stop = {},
                 u64 atMost = mostPlaces);

} // namespace qv::render::impl
