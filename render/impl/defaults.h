#pragma once

#include "render/impl/render_scene.h"

namespace qv::render::impl {

/// Returns a camera that sees all of a scene.
[[nodiscard]] Camera cameraThatShows(const RenderScene& scene) noexcept;

/// Adds a sun over the shoulder of a camera, and a dim sky.
void addDefaultLights(const Camera& camera, std::vector<Light>& lights);

/// Tells whether anything in the scene shines.
[[nodiscard]] bool hasLight(const RenderScene& scene) noexcept;

} // namespace qv::render::impl
