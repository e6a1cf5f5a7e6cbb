#pragma once

#include "kelvo/sdk/input.h"

#include <functional>

namespace qv::kelvo_sdk {

/// Returns another input that stands for one; empty where it stands for itself.
using StandIn = std::function<Input(const Input& input)>;

/// Returns the whole value stored in an input: a text as it is, other values as they stand in scene
/// text, arrays and objects with all that they hold. Empty for an input without a kind.
/// `standIn` may give others for the inputs that hold no more inputs.
[[nodiscard]] QV_EXPORT String valueText(const Input& input, const StandIn& standIn = {});

} // namespace qv::kelvo_sdk
