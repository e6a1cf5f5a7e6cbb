#pragma once

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/snapshot.h"

#include <functional>

namespace qv::kelvo_sdk {

/// Returns an input that replaces the given one; empty to use the given one.
using StandIn = std::function<Input(const Input& input)>;

/// Returns the whole value stored in an input: a string without quotes, other values as in scene
/// text, arrays and objects with all their elements and members. Empty for an input without a kind.
/// `standIn` may replace inputs that are no arrays or objects.
[[nodiscard]] QV_EXPORT String valueText(const Input& input, const StandIn& standIn = {});
/// Returns the same for an input of a snapshot.
[[nodiscard]] QV_EXPORT String valueText(const SnapshotInput& input);

} // namespace qv::kelvo_sdk
