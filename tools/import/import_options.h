#pragma once

#include "kelvo/base/string.h"

namespace qv::model_import {

/// The folder that the paths of texture files start at.
enum class TexturePaths {
    /// The folder of the scene, for paths that are relative in the model.
    Relative,
    /// The root of the file system.
    Absolute,
    /// Paths stay as the model has them.
    AsInModel,
};

/// The up axis and the unit of a space.
struct Space {
    /// "x", "y" or "z"; empty if unknown.
    String upAxis;
    /// 0 if unknown.
    double metersPerUnit = 0.0;
};

/// The settings of an import.
struct ImportOptions {
    /// The folder that the scene will be saved in; empty for the current folder.
    String sceneFolder;
    TexturePaths texturePaths = TexturePaths::Relative;
    /// Whether face corners with identical values share a vertex, in meshes without shared
    /// vertices.
    bool joinVertices = true;
    /// Up axis and unit of the model, in place of those in its file.
    Space model;
    /// Up axis and unit that the scene should get; the model's own where empty.
    Space scene;
};

} // namespace qv::model_import
