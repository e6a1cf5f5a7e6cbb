#pragma once

#include "tools/import/import_options.h"
#include "tools/import/import_report.h"

#include "kelvo/sdk/scene.h"

#include <functional>

namespace qv::model_import {

/// Receives the progress of reading, from 0 to 1; called on the importing thread.
using Progress = std::function<void(double)>;

/// Adds the content of a model file to a scene. On failure the scene is unchanged, and `report` has
/// the reason.
///
///     xform     a node of the model's hierarchy: Mat4 "matrix", Array<Node> "children"
///     mesh      a part of a mesh with one material: buffers "positions", "indices", "normals",
///               "uvs", ..., "faceCounts" where not all are triangles; Node "material"
///     material  every property in the model; Node "...Texture" for each texture
///     texture   a file, as "dir", "file" and "ext"; a texture inside the model keeps its bytes
///     camera, light
///     sceneSettings  up axis and unit, as far as known
///
/// Points are row vectors, as everywhere in the library. An object that several nodes of the model
/// share becomes one node that all of them link to. Names become simple identifiers; a name that
/// this changes is kept in the String input "name". Relative texture paths start at the folder of
/// the scene.
///
/// Readers take memory only in proportion to the model's files. Hostile files may crash them;
/// `runIsolated` protects a program from that.
[[nodiscard]] bool importModel(const kelvo_sdk::Scene& scene, const String& file, Report& report,
                               const ImportOptions& options = {}, const Progress& progress = {});

/// Returns the name and version of the library that reads models, "assimp 5.2.5".
[[nodiscard]] String readerVersion();

} // namespace qv::model_import
