#pragma once

#include "tools/import/import_options.h"

#include <string_view>

struct aiScene;

namespace qv::model_import {

/// Returns the space of a model as it has been read: `given`, and where that is silent what the
/// file states or its format lays down, after the turns that the reader makes. `reader` is its
/// name.
[[nodiscard]] Space spaceOf(std::string_view reader, const aiScene& model, const Space& given);

/// Returns why a model cannot be brought from its space into the wanted one; empty when it can.
[[nodiscard]] String whyNotInto(const Space& model, const Space& wanted);

} // namespace qv::model_import
