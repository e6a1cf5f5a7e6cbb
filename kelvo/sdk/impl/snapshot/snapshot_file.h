#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/index/compact_graph.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// The comments of a scene's text as a whole, and the unread lines between its nodes. Constant, and
/// shared by snapshots.
struct SnapshotFile final : RefCounted {
    /// The unread lines in it know nodes by name alone.
    Comments comments;
    /// For each of the unread lines the node behind them, `noNumber` when only its name is known.
    std::vector<NodeNumber> before;
};

} // namespace qv::kelvo_sdk::impl
