#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/impl/value/value.h"

namespace qv::kelvo_sdk::impl {

class AttrDetails;

/// Returns a value as scene text has it; long texts and buffers are cut, and the result says so.
[[nodiscard]] String helpValue(const Value& value);

/// Returns the value that `reset` brings back; nothing for objects and inputs without a kind.
[[nodiscard]] String helpDefault(const interfaces::IInput& input);

/// Returns the bounds, "0 to 1" or "at least 0"; nothing without bounds.
[[nodiscard]] String helpRange(const AttrDetails& details);

} // namespace qv::kelvo_sdk::impl
