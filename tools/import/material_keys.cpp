#include "tools/import/material_keys.h"

#include "tools/import/names.h"

#include "kelvo/base/ascii.h"

#include <algorithm>

namespace qv::model_import {

namespace {

using kelvo_sdk::AttrType;

constexpr std::string_view kShading[] = {
    "",          "flat",     "gouraud",      "phong", "blinn",   "toon",
    "orenNayar", "minnaert", "cookTorrance", "unlit", "fresnel", "pbr",
};
constexpr std::string_view kBlend[] = {"default", "additive"};
constexpr std::string_view kMapping[] = {"uv", "sphere", "cylinder", "box", "plane", "other"};
constexpr std::string_view kWrap[] = {"repeat", "clamp", "mirror", "decal"};
constexpr std::string_view kOperation[] = {"multiply", "add",       "subtract",
                                           "divide",   "smoothAdd", "signedAdd"};

constexpr MaterialKey kMaterialKeys[] = {
    {"$clr.diffuse", "diffuse", AttrType::Rgba},
    {"$clr.base", "baseColor", AttrType::Rgba},
    {"$clr.ambient", "ambient", AttrType::Rgba},
    {"$clr.specular", "specular", AttrType::Rgba},
    {"$clr.emissive", "emissive", AttrType::Rgba},
    {"$clr.transparent", "transparent", AttrType::Rgba},
    {"$clr.reflective", "reflective", AttrType::Rgba},
    {"$clr.sheen.factor", "sheenColor", AttrType::Rgba},
    {"$mat.opacity", "opacity", AttrType::Real},
    {"$mat.transparencyfactor", "transparencyFactor", AttrType::Real},
    {"$mat.metallicFactor", "metallic", AttrType::Real},
    {"$mat.roughnessFactor", "roughness", AttrType::Real},
    {"$mat.glossinessFactor", "glossiness", AttrType::Real},
    {"$mat.specularFactor", "specularFactor", AttrType::Real},
    {"$mat.anisotropyFactor", "anisotropy", AttrType::Real},
    {"$mat.emissiveIntensity", "emissiveIntensity", AttrType::Real},
    {"$mat.shininess", "shininess", AttrType::Real},
    {"$mat.shinpercent", "shininessStrength", AttrType::Real},
    {"$mat.reflectivity", "reflectivity", AttrType::Real},
    {"$mat.refracti", "ior", AttrType::Real},
    {"$mat.bumpscaling", "bumpScale", AttrType::Real},
    {"$mat.displacementscaling", "displacementScale", AttrType::Real},
    {"$mat.sheen.roughnessFactor", "sheenRoughness", AttrType::Real},
    {"$mat.clearcoat.factor", "clearcoat", AttrType::Real},
    {"$mat.clearcoat.roughnessFactor", "clearcoatRoughness", AttrType::Real},
    {"$mat.transmission.factor", "transmission", AttrType::Real},
    {"$mat.volume.thicknessFactor", "thickness", AttrType::Real},
    {"$mat.volume.attenuationDistance", "attenuationDistance", AttrType::Real},
    {"$mat.volume.attenuationColor", "attenuationColor", AttrType::Rgba},
    {"$mat.gltf.alphaMode", "alphaMode", AttrType::String},
    {"$mat.gltf.alphaCutoff", "alphaCutoff", AttrType::Real},
    {"$mat.twosided", "twoSided", AttrType::Bool},
    {"$mat.wireframe", "wireframe", AttrType::Bool},
    {"$mat.shadingm", "shading", AttrType::String, kShading},
    {"$mat.blend", "blend", AttrType::String, kBlend},
    {"$mat.useColorMap", "useColorTexture", AttrType::Bool},
    {"$mat.useMetallicMap", "useMetallicTexture", AttrType::Bool},
    {"$mat.useRoughnessMap", "useRoughnessTexture", AttrType::Bool},
    {"$mat.useEmissiveMap", "useEmissiveTexture", AttrType::Bool},
    {"$mat.useAOMap", "useAmbientOcclusionTexture", AttrType::Bool},
};

constexpr MaterialKey kTextureKeys[] = {
    {"$tex.file", "", AttrType::Node},
    {"$tex.uvwsrc", "UvChannel", AttrType::Int},
    {"$tex.op", "Operation", AttrType::String, kOperation},
    {"$tex.mapping", "Mapping", AttrType::String, kMapping},
    {"$tex.blend", "Blend", AttrType::Real},
    {"$tex.mapmodeu", "WrapU", AttrType::String, kWrap},
    {"$tex.mapmodev", "WrapV", AttrType::String, kWrap},
    {"$tex.mapaxis", "Axis", AttrType::Vec3},
    {"$tex.flags", "Flags", AttrType::Int},
    {"$tex.scale", "Scale", AttrType::Real},
    {"$tex.strength", "Strength", AttrType::Real},
    {"$tex.mappingname", "SamplerName", AttrType::String},
    {"$tex.mappingid", "SamplerId", AttrType::String},
    {"$tex.mappingfiltermag", "FilterMag", AttrType::Int},
    {"$tex.mappingfiltermin", "FilterMin", AttrType::Int},
    // An array of five numbers, which become three inputs.
    {"$tex.uvtrafo", "Uv", AttrType::Null},
};

// Indexed by the number that models use for a kind of texture.
constexpr const char* kTextureUses[] = {
    "",          "diffuse",      "specular",  "ambient",      "emissive",  "height",
    "normal",    "shininess",    "opacity",   "displacement", "lightmap",  "reflection",
    "baseColor", "normalCamera", "emission",  "metallic",     "roughness", "ambientOcclusion",
    "other",     "sheen",        "clearcoat", "transmission",
};

const MaterialKey* find(std::span<const MaterialKey> keys, std::string_view key) noexcept {
    const auto found = std::find_if(keys.begin(), keys.end(), [key](const MaterialKey& known) {
        return ascii::equalsNoCase(known.key, key);
    });
    return found == keys.end() ? nullptr : &*found;
}

} // namespace

const MaterialKey* findMaterialKey(std::string_view key) noexcept {
    return find(kMaterialKeys, key);
}

const MaterialKey* findTextureKey(std::string_view key) noexcept {
    return find(kTextureKeys, key);
}

String textureSlot(u32 use, u32 layer) {
    const char* name = use < std::size(kTextureUses) ? kTextureUses[use] : "other";
    const String slot = *name ? String(name) + "Texture" : String("texture");
    return layer == 0 ? slot : slot + String::format("%u", layer);
}

String materialInputName(std::string_view key) {
    for (const std::string_view prefix : {"$mat.", "$clr.", "$tex."}) {
        if (key.starts_with(prefix)) key.remove_prefix(prefix.size());
    }
    String name = identifierFrom(key);
    return name.isEmpty() ? String("property") : name;
}

} // namespace qv::model_import
