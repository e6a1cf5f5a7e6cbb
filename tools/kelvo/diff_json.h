#pragma once

#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_tool {

/// Returns a diff as JSON, one change per line; docs/diff.md describes the format.
[[nodiscard]] String toJson(const kelvo_sdk::SceneDiff& diff);

/// Reads a diff from JSON; false, with a sentence and the place in `error`, for any other text.
[[nodiscard]] bool fromJson(const String& text, kelvo_sdk::SceneDiff& diff, String& error);

/// Returns conflicts as JSON.
[[nodiscard]] String toJson(const std::vector<kelvo_sdk::MergeConflict>& conflicts);

} // namespace qv::kelvo_tool
