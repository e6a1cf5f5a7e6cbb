#pragma once

#include "kelvo/base/types.h"

#include <vector>

struct aiMesh;

namespace qv::model_import {

/// The vertices of a mesh that go into the scene.
struct VertexChoice {
    /// Their numbers in the model, ascending; empty when all vertices are kept.
    std::vector<u32> kept;
    /// By number in the model: the number in `kept`. Empty when all vertices are kept.
    std::vector<u32> numbers;

    [[nodiscard]] u32 numberOf(u32 vertex) const {
        return numbers.empty() ? vertex : numbers[vertex];
    }
};

/// Drops the vertices that have the same bits as an earlier one, in positions and all other data.
///
/// Many readers make a vertex for each corner of each face. If corners share vertices already, or
/// there are no faces, all vertices of the model are kept.
[[nodiscard]] VertexChoice joinVertices(const aiMesh& mesh);

} // namespace qv::model_import
