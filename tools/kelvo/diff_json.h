#pragma once

#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_tool {

/// Returns a diff as JSON, one change a line (docs/diff.md has the form).
[[nodiscard]] String toJson(const kelvo_sdk::SceneDiff& diff);

/// Reads a diff from JSON; false, and a sentence in `error` that tells the place, when it is none.
[[nodiscard]] bool fromJson(const String& text, kelvo_sdk::SceneDiff& diff, String& error);

/// Returns conflicts as JSON.
[[nodiscard]] String toJson(const std::vector<kelvo_sdk::MergeConflict>& conflicts);

} // namespace qv::kelvo_tool
