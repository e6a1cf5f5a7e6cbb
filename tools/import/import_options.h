#pragma once

#include "base/string.h"

namespace qv::model_import {

/// What the paths of texture files in a scene start from.
enum class TexturePaths {
    /// The folder of the scene, where the model gives a path relative to itself.
    Relative,
    /// The root of the file system.
    Absolute,
    /// Whatever the model means: they stay as it has them.
    AsInModel,
};

/// Which way is up in a space, and how long its unit is.
struct Space {
    /// "x", "y" or "z"; empty where it is not known.
    String upAxis;
    /// 0 where it is not known.
    double metersPerUnit = 0.0;
};

/// What an import does beside carrying things over.
struct ImportOptions {
    /// Where the scene is going to be saved; empty for the current folder.
    String sceneFolder;
    TexturePaths texturePaths = TexturePaths::Relative;
    /// Whether corners whose values are the same bits share a vertex, in meshes that share none.
    bool joinVertices = true;
    /// What the model has; counts more than what its file says.
    Space model;
    /// What the scene is to have; what is not given here stays as in the model.
    Space scene;
};

} // namespace qv::model_import
