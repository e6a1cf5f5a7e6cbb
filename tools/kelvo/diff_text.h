#pragma once

#include "kelvo/sdk/scene_diff.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Prints changes for people, one per line; cuts long texts and adds their size.
void writeChanges(const kelvo_sdk::SceneDiff& diff, Terminal& out);

/// Returns a text on one line, cut when it is long; "nothing" for no text.
[[nodiscard]] String shortText(const std::optional<String>& text);

} // namespace qv::kelvo_tool
