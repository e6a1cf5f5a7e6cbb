#include "render/impl/material_reader.h"

#include "render/impl/input_values.h"

namespace qv::render::impl {

namespace {

using kelvo_sdk::SnapshotNode;

constexpr double infinity = std::numeric_limits<double>::infinity();

class MaterialReader {
public:
    MaterialReader(const SnapshotNode& node, TextureStore& textures, FindingList& findings)
        : m_node(node), m_textures(textures), m_findings(findings), m_values(node, findings) {}

    Material read() {
        readBase();
        readOpacity();
        readLayers();
        readVolume();
        m_made.twoSided = m_values.flag("twoSided", false);
        m_made.emission = m_values.color("emissive", {}) * real("emissiveIntensity", 1.0, 1e20);
        m_made.emissiveTexture = texture("emissiveTexture");
        return std::move(m_made);
    }

private:
    [[nodiscard]] float real(const char* name, double absent, double most) const {
        return m_values.real(name, absent, 0.0, most);
    }

    // The wrap modes of the material, if it has any, count before those of the texture.
    [[nodiscard]] TextureUse texture(const char* name) {
        const SnapshotNode node = m_node[name].linked();
        if (!node) return {};
        const auto wrap = [&](const char* side) {
            const String own = node["wrap" + String(side)].get<String>("repeat");
            return wrapNamed(m_node[String(name) + "Wrap" + side].get<String>(own).view());
        };
        return {m_textures.find(node, m_findings), wrap("U"), wrap("V"), uvSet(name),
                transform(name)};
    }

    [[nodiscard]] u32 uvSet(const String& texture) const {
        const String name = texture + "UvChannel";
        return static_cast<u32>(m_values.real(name.buf(), 0.0, 0.0, mostUvSets - 1));
    }

    [[nodiscard]] UvTransform transform(const String& texture) const {
        const auto pair = [&](const char* input, float absent) {
            return m_values.pair((texture + input).buf(), {absent, absent});
        };
        const float angle = m_values.real((texture + "UvRotation").buf(), 0.0, -1e6, 1e6);
        return {pair("UvOffset", 0.0F), pair("UvScale", 1.0F), std::sin(angle), std::cos(angle)};
    }

    void readBase() {
        const bool isOld = !m_node["baseColor"] && m_node["diffuse"];
        m_made.baseColor = m_values.color(isOld ? "diffuse" : "baseColor", gray(0.8F));
        const bool hasOldTexture =
            !m_node["baseColorTexture"].linked() && m_node["diffuseTexture"].linked();
        m_made.baseColorTexture = texture(hasOldTexture ? "diffuseTexture" : "baseColorTexture");
        m_made.metallic = real("metallic", 0.0, 1.0);
        m_made.metallicTexture = texture("metallicTexture");
        m_made.roughness = real("roughness", 0.5, 1.0);
        m_made.roughnessTexture = texture("roughnessTexture");
        m_made.normalTexture = texture("normalTexture");
        m_made.normalScale = m_values.real("normalTextureScale", 1.0, -1e3, 1e3);
        m_made.ior = m_values.real("ior", 1.5, 1.0, 10.0);
    }

    void readOpacity() {
        const String mode = m_values.text("alphaMode", "OPAQUE");
        m_made.alphaMode = mode == "MASK"    ? AlphaMode::Mask
                           : mode == "BLEND" ? AlphaMode::Blend
                                             : AlphaMode::Opaque;
        m_made.alphaCutoff = real("alphaCutoff", 0.5, 1.0);
        m_made.opacity = real("opacity", 1.0, 1.0);
        m_made.opacityTexture = texture("opacityTexture");
    }

    void readLayers() {
        m_made.clearcoat = real("clearcoat", 0.0, 1.0);
        m_made.clearcoatRoughness = real("clearcoatRoughness", 0.0, 1.0);
        m_made.sheenColor = m_values.color("sheenColor", {});
        m_made.sheenRoughness = real("sheenRoughness", 0.0, 1.0);
    }

    void readVolume() {
        m_made.transmission = real("transmission", 0.0, 1.0);
        m_made.thickness = real("thickness", 0.0, 1e20);
        const float distance = real("attenuationDistance", infinity, infinity);
        const Vec3 color = m_values.color("attenuationColor", gray(1));
        const auto absorption = [distance](float channel) {
            return -std::log(std::clamp(channel, 1e-6F, 1.0F)) / std::max(distance, 1e-6F);
        };
        m_made.absorption = {absorption(color.x), absorption(color.y), absorption(color.z)};
    }

    const SnapshotNode& m_node;
    TextureStore& m_textures;
    FindingList& m_findings;
    InputValues m_values;
    Material m_made;
};

} // namespace

std::shared_ptr<const Material> readMaterial(const SnapshotNode& node, TextureStore& textures,
                                             FindingList& findings) {
    return std::make_shared<const Material>(MaterialReader(node, textures, findings).read());
}

} // namespace qv::render::impl
