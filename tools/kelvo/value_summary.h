#pragma once

#include "sdk/interfaces/i_input.h"

#include "base/string.h"

namespace qv::kelvo_tool {

/// Returns the value of an input in one short line, as it stands in scene text but for what is left
/// out: long texts, buffers and arrays are cut and tell their whole size.
[[nodiscard]] String shortValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns the whole value: texts as they are, other values as they stand in scene text; no text
/// for an input that has no kind.
[[nodiscard]] String wholeValue(const kelvo_sdk::interfaces::IInput& input);

} // namespace qv::kelvo_tool
