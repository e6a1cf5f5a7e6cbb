#pragma once

#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/snapshot.h"

#include "kelvo/base/string.h"

namespace qv::kelvo_tool {

/// Returns the value of an input on one short line, in the form of scene text; long texts, buffers
/// and arrays are cut and show their whole size.
[[nodiscard]] String shortValue(const kelvo_sdk::interfaces::IInput& input);
[[nodiscard]] String shortValue(const kelvo_sdk::SnapshotInput& input);

} // namespace qv::kelvo_tool
