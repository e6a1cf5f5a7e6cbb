#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Marks the values of a scene that its node types do not allow, so that its text has `@unchecked`
/// there. Returns a sentence for each, for a report. May replace the scene's nodes by new ones.
StringVector markUnchecked(const kelvo_sdk::Scene& scene);

} // namespace qv::kelvo_tool
