#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_tool {

/// Returns the help of a node as plain text in lines of at most `width` columns, unless a word or
/// value is longer; control characters become '?'.
[[nodiscard]] String helpText(const kelvo_sdk::interfaces::INode& node, u64 width);

} // namespace qv::kelvo_tool
