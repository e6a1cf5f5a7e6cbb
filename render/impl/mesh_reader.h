#pragma once

#include "render/impl/finding_list.h"
#include "render/impl/render_scene.h"

#include <stop_token>

namespace qv::render::impl {

/// Reads a node of type "mesh" and cuts its faces into triangles. Faces that are no surface are
/// left out, with a finding. Null, with a finding, when no triangle is left. A stop throws
/// `Stopped`.
[[nodiscard]] std::shared_ptr<const Mesh> readMesh(const kelvo_sdk::SnapshotNode& node,
                                                   FindingList& findings,
                                                   const std::stop_token& stop = {});

} // namespace qv::render::impl
