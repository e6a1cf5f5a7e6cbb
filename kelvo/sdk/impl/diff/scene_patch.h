#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

/// Makes changes in a scene, all or none; see `SceneDiff::applyTo`. They are made in the nodes that
/// there are. Text is written and read only where this cannot be, or is refused.
[[nodiscard]] bool applyChanges(const std::vector<SceneChange>& changes,
                                const kelvo_sdk::Scene& scene, String& error);

/// Makes the records of a scene; those of an empty handle are those of an empty scene.
[[nodiscard]] bool recordScene(const kelvo_sdk::Scene& scene, SceneDocument& document,
                               String& error);
/// Reads the text of a scene that was made; `error` is the first one in it.
[[nodiscard]] bool readText(const kelvo_sdk::Scene& scene, const String& text, String& error);
/// Lets a scene know the libraries of another, which may be empty.
void shareLibraries(const kelvo_sdk::Scene& from, const kelvo_sdk::Scene& to);

} // namespace qv::kelvo_sdk::impl
