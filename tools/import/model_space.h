#pragma once

#include "tools/import/import_options.h"

struct aiScene;
namespace Assimp {
class Importer;
}

namespace qv::model_import {

/// Returns the space of the model that an importer has just read: `given`, and where that is silent
/// what the file states or its format lays down, after the turns that the reader makes.
[[nodiscard]] Space spaceOf(const Assimp::Importer& importer, const aiScene& model,
                            const Space& given);

/// Returns why a model cannot be brought from its space into the wanted one; empty when it can.
[[nodiscard]] String whyNotInto(const Space& model, const Space& wanted);

} // namespace qv::model_import
