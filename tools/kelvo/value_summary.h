#pragma once

#include "kelvo/sdk/interfaces/i_input.h"

#include "kelvo/base/string.h"

#include <functional>

namespace qv::kelvo_tool {

/// Returns the value of an input in one short line, as it stands in scene text but for what is left
/// out: long texts, buffers and arrays are cut and tell their whole size.
[[nodiscard]] String shortValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns the whole value: texts as they are, other values as they stand in scene text; no text
/// for an input that has no kind.
[[nodiscard]] String wholeValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns another input that stands for one; empty where it stands for itself.
using StandIn = std::function<RefersTo<kelvo_sdk::interfaces::IInput>(
    const kelvo_sdk::interfaces::IInput& input)>;
/// Returns the whole value, where others may stand for the inputs that hold no more inputs.
[[nodiscard]] String wholeValue(const kelvo_sdk::interfaces::IInput& input, const StandIn& standIn);

} // namespace qv::kelvo_tool
