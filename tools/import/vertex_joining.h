#pragma once

#include "kelvo/base/types.h"

#include <vector>

struct aiMesh;

namespace qv::model_import {

/// The vertices of a mesh that a scene gets.
struct VertexChoice {
    /// Their numbers in the model, in its order; empty when all stay as they are.
    std::vector<u32> kept;
    /// By number in the model: the number among those kept. Empty when all stay.
    std::vector<u32> numbers;

    [[nodiscard]] u32 numberOf(u32 vertex) const {
        return numbers.empty() ? vertex : numbers[vertex];
    }
};

/// Returns the vertices with those left out that have the same bits as an earlier one, in positions
/// and in everything else that they have.
///
/// Many readers make a vertex of each corner of each face. Where that has not happened, so that
/// corners share vertices, the model's own vertices stay; so do points without faces.
[[nodiscard]] VertexChoice joinVertices(const aiMesh& mesh);

} // namespace qv::model_import
