#pragma once

#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

/// Tells whether the buffers "positions", "normals", "uvs" and "indices" of a node agree: a normal
/// and a texture coordinate for each position, and no index past the last position. A node without
/// them has nothing that could disagree.
[[nodiscard]] bool meshBuffersAgree(const interfaces::INode& node);

} // namespace qv::kelvo_sdk::impl
