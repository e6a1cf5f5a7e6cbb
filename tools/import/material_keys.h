#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/attr_type.h"

#include <span>
#include <string_view>

namespace qv::model_import {

/// How a property of a material is called in the model, and in the scene.
struct MaterialKey {
    std::string_view key;
    const char* name = nullptr;
    kelvo_sdk::AttrType type = kelvo_sdk::AttrType::Null;
    /// Names for numbers, when the kind is String and the model has a number; may be empty.
    std::span<const std::string_view> choices = {};
};

/// Returns the property of that key without regard to case; null for those without a name of their
/// own.
[[nodiscard]] const MaterialKey* findMaterialKey(std::string_view key) noexcept;

/// Returns the same for the properties of textures; their names are endings for `textureSlot`.
[[nodiscard]] const MaterialKey* findTextureKey(std::string_view key) noexcept;

/// Returns the input for a use of a texture ("diffuseTexture"), and, from the second layer on, its
/// number ("diffuseTexture1").
[[nodiscard]] String textureSlot(u32 use, u32 layer);

/// Returns a name for a property without one of its own: "$mat.blend.mirror" is "blend_mirror".
[[nodiscard]] String materialInputName(std::string_view key);

} // namespace qv::model_import
