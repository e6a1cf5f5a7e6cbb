#pragma once

#include "kelvo/sdk/interfaces/i_input.h"

#include "kelvo/base/string.h"

#include <functional>

namespace qv::kelvo_tool {

/// Returns the value of an input on one short line, in the form of scene text; long texts, buffers
/// and arrays are cut and show their whole size.
[[nodiscard]] String shortValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns the whole value: a text as it is, other values in the form of scene text; an empty text
/// for an input without a kind.
[[nodiscard]] String wholeValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns an input to print instead of the given one; empty for the given input itself.
using StandIn = std::function<RefersTo<kelvo_sdk::interfaces::IInput>(
    const kelvo_sdk::interfaces::IInput& input)>;
/// Returns the whole value; `standIn` may replace any input that is neither array nor object.
[[nodiscard]] String wholeValue(const kelvo_sdk::interfaces::IInput& input, const StandIn& standIn);

} // namespace qv::kelvo_tool
