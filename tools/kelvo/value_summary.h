#pragma once

#include "kelvo/sdk/interfaces/i_input.h"

#include "kelvo/base/string.h"

namespace qv::kelvo_tool {

/// Returns the value of an input in one short line, as it stands in scene text but for what is left
/// out: long texts, buffers and arrays are cut and tell their whole size.
[[nodiscard]] String shortValue(const kelvo_sdk::interfaces::IInput& input);

} // namespace qv::kelvo_tool
