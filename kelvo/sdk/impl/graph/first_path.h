#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/path_graph.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

/// Returns the first path that a `PathSearch` with the same arguments finds, empty when there is
/// none. It visits each node at most once and needs less memory, because it cannot continue.
[[nodiscard]] ds::Vector<interfaces::INode*> firstPath(const interfaces::INode& from,
                                                       const PathGoal& goal, bool allLinks);

} // namespace qv::kelvo_sdk::impl
