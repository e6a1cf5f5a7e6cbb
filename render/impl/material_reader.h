#pragma once

#include "render/impl/render_scene.h"
#include "render/impl/texture_store.h"

namespace qv::render::impl {

/// Reads a node of type "material". What it lacks is as in the definition of the type; a model that
/// describes its surface by "diffuse" instead of "baseColor" is understood.
[[nodiscard]] std::shared_ptr<const Material>
readMaterial(const kelvo_sdk::SnapshotNode& node, TextureStore& textures, FindingList& findings);

} // namespace qv::render::impl
