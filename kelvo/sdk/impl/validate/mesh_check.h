#pragma once

#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

/// Tells whether the buffers "positions", "normals", "uvs" and "indices" of a node agree: one
/// normal and one texture coordinate for each position, and no index past the last position. True
/// for a node without these buffers.
[[nodiscard]] bool meshBuffersAgree(const interfaces::INode& node);

} // namespace qv::kelvo_sdk::impl
