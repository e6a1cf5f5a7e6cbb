#pragma once

#include "kelvo/base/string.h"

namespace qv::model_import {

/// The start of the paths of texture files in a scene.
enum class TexturePaths {
    /// The folder of the scene, where the model gives a path relative to itself.
    Relative,
    /// The root of the file system.
    Absolute,
    /// Paths stay as the model has them.
    AsInModel,
};

/// Which way is up in a space, and how long its unit is.
struct Space {
    /// "x", "y" or "z"; empty where it is not known.
    String upAxis;
    /// 0 where it is not known.
    double metersPerUnit = 0.0;
};

/// Choices of an import beside carrying things over.
struct ImportOptions {
    /// Where the scene is going to be saved; empty for the current folder.
    String sceneFolder;
    TexturePaths texturePaths = TexturePaths::Relative;
    /// Whether corners whose values are the same bits share a vertex, in meshes that share none.
    bool joinVertices = true;
    /// Up axis and unit of the model; these count more than what its file says.
    Space model;
    /// Up axis and unit that the scene is to have; where one is not given it stays as in the model.
    Space scene;
};

} // namespace qv::model_import
