#pragma once

#include "tools/import/import_options.h"
#include "tools/import/import_report.h"

#include "kelvo/sdk/scene.h"

#include <functional>

namespace qv::model_import {

/// Receives the progress of reading, from 0 to 1; called on the importing thread.
using Progress = std::function<void(double)>;

/// Adds a model file to a scene, which stays as it was on failure; `report` then says why.
///
///     xform     a node of the model's hierarchy: Mat4 "matrix", Array<Node> "children"
///     mesh      a part of a mesh with one material: buffers "positions", "indices", "normals",
///               "uvs", ..., "faceCounts" where not all are triangles; Node "material"
///     material  every property that the model gives; Node "...Texture" for each texture
///     texture   a file, as "dir", "file" and "ext"; one inside the model keeps its bytes
///     camera, light
///     sceneSettings  which way is up and how long a unit is, where that is known
///
/// Points are rows, as everywhere in the library. What several nodes share in the model is one node
/// that all of them link to. Names become simple identifiers; the name in the model, where it
/// differs, is the String input "name". Relative texture paths start at the folder of the scene.
///
/// Readers take at most memory in proportion to the model's files. They may crash on files that are
/// made to: `runIsolated` keeps that from a program.
[[nodiscard]] bool importModel(const kelvo_sdk::Scene& scene, const String& file, Report& report,
                               const ImportOptions& options = {}, const Progress& progress = {});

/// Returns the name and version of the library that reads models, "assimp 5.2.5".
[[nodiscard]] String readerVersion();

} // namespace qv::model_import
