#pragma once

#include "tools/import/import_options.h"

#include <string_view>

struct aiScene;

namespace qv::model_import {

/// Returns the space of a model after reading: `given`; where that is empty, the statement of the
/// file or the rule of its format, including turns made by the reader. `reader` is the reader's
/// name.
[[nodiscard]] Space spaceOf(std::string_view reader, const aiScene& model, const Space& stated);

/// Returns why a model cannot be converted from its space to the wanted one; empty when it can.
[[nodiscard]] String whyNotInto(const Space& model, const Space& wanted);

} // namespace qv::model_import
