#pragma once

#include "kelvo/sdk/scene_diff.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Writes changes for people, one a line; long texts are cut and tell their size.
void writeChanges(const kelvo_sdk::SceneDiff& diff, Terminal& out);

/// Returns a text in one line, cut when it is long; "nothing" for none.
[[nodiscard]] String shortText(const std::optional<String>& text);

} // namespace qv::kelvo_tool
