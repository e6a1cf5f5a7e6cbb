#pragma once

#include "sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes changes of values, links and connections in a scene itself. False when one of them is
/// something else or is refused; those before it are made then.
[[nodiscard]] bool setInPlace(Scene& scene, const std::vector<SceneChange>& changes);

} // namespace qv::kelvo_sdk::impl
