#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

/// Applies changes to a scene, all or none; see `SceneDiff::applyTo`. Changes existing nodes where
/// that gives the result; else writes the changed scene as text and reads it again.
[[nodiscard]] bool applyChanges(const std::vector<SceneChange>& changes,
                                const kelvo_sdk::Scene& scene, String& error);

/// Makes the records of a scene; an empty handle counts as an empty scene.
[[nodiscard]] bool recordScene(const kelvo_sdk::Scene& scene, SceneDocument& document,
                               String& error);
/// Reads the text of a changed scene; sets `error` to the first error in the text.
[[nodiscard]] bool readText(const kelvo_sdk::Scene& scene, const String& text, String& error);
/// Adds the libraries of one scene, which may be an empty handle, to another.
void shareLibraries(const kelvo_sdk::Scene& from, const kelvo_sdk::Scene& to);

} // namespace qv::kelvo_sdk::impl
