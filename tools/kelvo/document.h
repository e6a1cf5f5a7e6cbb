#pragma once

#include "sdk/scene.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Reads a scene file into an empty scene; false after telling all that is wrong with it.
[[nodiscard]] bool loadScene(const String& file, const kelvo_sdk::Scene& scene);

/// Writes a scene to a file, or to `out` for "-"; false after telling why not.
[[nodiscard]] bool saveScene(const kelvo_sdk::Scene& scene, const String& file, Terminal& out);

} // namespace qv::kelvo_tool
