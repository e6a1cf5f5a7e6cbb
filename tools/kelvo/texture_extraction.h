#pragma once

#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Writes textures stored inside a scene to a folder, created if missing, and sets their nodes to
/// these files, with paths relative to `sceneFolder`, or absolute with `areAbsolute`. Files are
/// named after the nodes. False with a sentence in `error`.
[[nodiscard]] bool extractTextures(const kelvo_sdk::Scene& scene, const String& folder,
                                   const String& sceneFolder, bool areAbsolute, String& error);

} // namespace qv::kelvo_tool
