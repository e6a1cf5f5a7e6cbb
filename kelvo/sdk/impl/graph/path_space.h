#pragma once

#include "kelvo/base/types.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// The nodes that paths may go through, numbered in the order in which they are reached. Number 0
/// is the start.
class PathSpace {
public:
    using Number = u32;

    virtual ~PathSpace() = default;
    /// Returns how many nodes have a number.
    [[nodiscard]] virtual u64 size() const noexcept = 0;
    /// Appends the nodes that a node leads to, in the order of the inputs, each once.
    virtual void listFollowers(Number number, std::vector<Number>& out) = 0;
    /// Tells whether paths to the node are searched.
    [[nodiscard]] virtual bool isGoal(Number number) const = 0;
};

} // namespace qv::kelvo_sdk::impl
