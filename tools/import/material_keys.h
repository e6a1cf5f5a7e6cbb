#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/attr_type.h"

#include <span>
#include <string_view>

namespace qv::model_import {

/// The name of a material property in the model and in the scene.
struct MaterialKey {
    std::string_view key;
    const char* name = nullptr;
    kelvo_sdk::AttrType type = kelvo_sdk::AttrType::Null;
    /// Names of the numbers, for a property that is a String in the scene and a number in the
    /// model; may be empty.
    std::span<const std::string_view> choices = {};
};

/// Returns the property of that key without regard to case; null for a key that is not in the
/// table.
[[nodiscard]] const MaterialKey* findMaterialKey(std::string_view key) noexcept;

/// Returns the texture property of that key; its name is a suffix for `textureSlot`.
[[nodiscard]] const MaterialKey* findTextureKey(std::string_view key) noexcept;

/// Returns the input for a use of a texture, with a number from the second layer on:
/// "diffuseTexture", "diffuseTexture1".
[[nodiscard]] String textureSlot(u32 use, u32 layer);

/// Returns a name for a property that is not in the table: "$mat.blend.mirror" is "blend_mirror".
[[nodiscard]] String materialInputName(std::string_view key);

} // namespace qv::model_import
