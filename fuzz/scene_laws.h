#pragma once

#include "kelvo/sdk/scene.h"

#include <string_view>

namespace qv::fuzz {

/// Returns a new scene, with or without the standard types.
[[nodiscard]] kelvo_sdk::Scene newScene(bool knowsTypes);

/// Requires that a scene has no broken invariant, and that its text reads back to the same bytes.
void requireSound(const kelvo_sdk::Scene& scene, bool knowsTypes);

/// Requires that each diagnostic has a message and a place in the text.
void requirePlaces(const kelvo_sdk::Diagnostics& found, std::string_view text);

} // namespace qv::fuzz
