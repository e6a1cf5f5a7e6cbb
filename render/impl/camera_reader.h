#pragma once

#include "render/impl/input_values.h"
#include "render/impl/placing.h"
#include "render/impl/render_scene.h"

namespace qv::render::impl {

/// Reads a node of type "camera".
[[nodiscard]] inline Camera readCamera(const kelvo_sdk::SnapshotNode& node,
                                       const Transform& toWorld, FindingList& findings) {
    const InputValues values(node, findings);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Camera camera;
    camera.place =
        placeOf(toWorld, values.vector("position", {}), values.direction("direction", {0, 0, -1}),
                values.direction("up", {0, 1, 0}));
    camera.orthographicWidth = values.real("orthographicWidth", 0.0, 0.0, 1e17);
    // An orthographic camera may have any angle, as it has no use for it.
    if (camera.orthographicWidth == 0.0F)
        camera.horizontalFov = values.real("horizontalFov", 0.8, 1e-4, 3.14);
    camera.aspect = values.real("aspect", 0.0, 0.0, 1e4);
    camera.near = values.real("near", 0.1, 0.0, 1e17);
    camera.far = values.real("far", 1000.0, 0.0, infinity);
    return camera;
}

} // namespace qv::render::impl
