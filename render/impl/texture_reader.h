#pragma once

#include "render/impl/finding_list.h"
#include "render/impl/texture.h"

#include <memory>
#include <stop_token>

namespace qv::render::impl {

inline constexpr u64 mostTexturePixels = u64{1} << 28;

/// Reads a node of type "texture": its pixels, the bytes of a picture file inside it, or a picture
/// file, whose path starts from `folder`. Null after a finding when there is no such picture. A
/// stop throws `Stopped`.
[[nodiscard]] std::shared_ptr<const Texture> readTexture(const kelvo_sdk::SnapshotNode& node,
                                                         const String& folder,
                                                         FindingList& findings,
                                                         const std::stop_token& stop = {});

/// Returns the choice of an input "wrapU" or "wrapV".
[[nodiscard]] Wrap wrapNamed(std::string_view name) noexcept;

} // namespace qv::render::impl
