#pragma once

#include "kelvo/sdk/interfaces/i_input.h"

namespace qv::kelvo_sdk::impl {

/// The buffers of a mesh; those that it lacks are empty.
struct MeshBuffers {
    interfaces::BufferView positions;
    interfaces::BufferView normals;
    interfaces::BufferView uvs;
    interfaces::BufferView indices;
};

/// Tells whether there is one normal and one texture coordinate for each position, if there are
/// any, and no index past the last position.
[[nodiscard]] bool agree(const MeshBuffers& mesh) noexcept;

/// Tells whether the buffers "positions", "normals", "uvs" and "indices" of a node agree. True for
/// a node without these buffers.
[[nodiscard]] bool meshBuffersAgree(const interfaces::INode& node);

} // namespace qv::kelvo_sdk::impl
