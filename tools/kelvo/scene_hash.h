#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Returns the hash of all nodes in their order. Nodes of the types in `skip` contribute nothing;
/// the others contribute their INode::hash.
[[nodiscard]] u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip);

/// Returns the hash as 16 hexadecimal digits.
[[nodiscard]] String hashText(u64 hash);

} // namespace qv::kelvo_tool
