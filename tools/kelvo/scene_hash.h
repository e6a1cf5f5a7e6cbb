#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Returns the hash of all nodes in their order; nodes of the types in `skip` count as nothing, the
/// rest as INode::hash says.
[[nodiscard]] u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip);

/// Returns 16 hexadecimal digits.
[[nodiscard]] String hashText(u64 hash);

} // namespace qv::kelvo_tool
