#pragma once

#include "kelvo/sdk/impl/index/compact_graph.h"

namespace qv::kelvo_sdk::impl {

/// Follows the order of the nodes of a scene and keeps their numbers: a removed node's number is
/// given to no other node while someone may still use it.
class NodeTableFollower {
public:
    /// A node was added at that index, or moved there.
    virtual void inserted(u64 index, NodeNumber number) noexcept = 0;
    /// The node at that index was removed, or is about to be added elsewhere.
    virtual void removed(u64 index) noexcept = 0;

    /// Uses have numbers. A number that is freed now may have all uses before `nextUse`.
    [[nodiscard]] virtual u64 nextUse() const noexcept = 0;
    /// Returns the oldest use that has not ended.
    [[nodiscard]] virtual u64 oldestUse() const noexcept = 0;

protected:
    ~NodeTableFollower() = default;
};

} // namespace qv::kelvo_sdk::impl
