#pragma once

#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Writes the textures whose files are kept inside a scene to a folder, which is made where it is
/// missing, and lets their nodes name the files instead: as seen from `sceneFolder`, or from the
/// root where `areAbsolute`. Files take the names of the nodes. False with a sentence in `error`.
[[nodiscard]] bool extractTextures(const kelvo_sdk::Scene& scene, const String& folder,
                                   const String& sceneFolder, bool areAbsolute, String& error);

} // namespace qv::kelvo_tool
