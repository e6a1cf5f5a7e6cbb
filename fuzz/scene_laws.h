#pragma once

#include "kelvo/sdk/scene.h"

#include <string_view>

namespace qv::fuzz {

/// A new scene that knows the standard types or none.
[[nodiscard]] kelvo_sdk::Scene newScene(bool knowsTypes);

/// Requires that a scene keeps its laws, and that its text reads back to the same bytes.
void requireSound(const kelvo_sdk::Scene& scene, bool knowsTypes);

/// Requires that each finding names a place of the text and says something.
void requirePlaces(const kelvo_sdk::Diagnostics& found, std::string_view text);

} // namespace qv::fuzz
