#pragma once

#include "render/impl/render_scene.h"
#include "render/impl/texture_store.h"

namespace qv::render::impl {

/// Appends the lights of a node, if it is of a type of lights: none, with a finding, for a light
/// that cannot shine.
void readLights(const kelvo_sdk::SnapshotNode& node, const Transform& toWorld,
                TextureStore& textures, FindingList& findings, std::vector<Light>& lights);

} // namespace qv::render::impl
