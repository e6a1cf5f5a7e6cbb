#pragma once

#include "kelvo/sdk/snapshot.h"
#include "render/finding.h"
#include "render/impl/light_color.h"
#include "render/impl/texture.h"
#include "render/impl/transform.h"
#include "render/impl/triangulation.h"
#include "render/impl/uv_transform.h"

#include <limits>
#include <memory>
#include <vector>

namespace qv::render::impl {

/// A box along the axes, which at first holds nothing.
struct Box {
    Vec3 min = gray(std::numeric_limits<float>::infinity());
    Vec3 max = gray(-std::numeric_limits<float>::infinity());

    void add(const Vec3& p) noexcept {
        min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
        max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
    }
    [[nodiscard]] bool isEmpty() const noexcept { return !(min.x <= max.x); }
    [[nodiscard]] Vec3 center() const noexcept { return (min + max) * 0.5F; }
    /// Returns the radius of a ball around the centre; 1 for an empty box or a point.
    [[nodiscard]] float radius() const noexcept {
        const float r = isEmpty() ? 0.0F : length(max - min) * 0.5F;
        return r > 0.0F ? r : 1.0F;
    }
};

/// The triangles of a mesh, with values at the vertices. A list of values is empty, or has one for
/// each position.
struct Mesh {
    /// Positions and triangles have room for one more, as rays are traced with reads of 16 bytes.
    std::vector<Vec3> positions;
    std::vector<Triangle> triangles;
    std::vector<Vec3> normals;
    std::vector<Vec3> tangents;
    std::vector<Vec3> bitangents;
    /// Sets of texture coordinates, by number; an empty one is absent.
    std::vector<std::vector<Vec2>> uvs;
    /// Colour and opacity.
    std::vector<Vec4> colors;
    /// Of the triangles.
    Box bounds;

    [[nodiscard]] bool hasUvs(u32 set) const noexcept {
        return set < uvs.size() && !uvs[set].empty();
    }
};

/// Models have no more sets of texture coordinates.
inline constexpr u32 mostUvSets = 8;

enum class AlphaMode : u32 { Opaque, Mask, Blend };

/// How a material uses a texture. Without texture its value is white.
struct TextureUse {
    std::shared_ptr<const Texture> texture;
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
    /// The number of the texture coordinates.
    u32 uvSet = 0;
    UvTransform transform;
};

struct Material {
    Vec3 baseColor{0.8F, 0.8F, 0.8F};
    float metallic = 0.0F;
    float roughness = 0.5F;
    float ior = 1.5F;
    float opacity = 1.0F;
    AlphaMode alphaMode = AlphaMode::Opaque;
    float alphaCutoff = 0.5F;
    bool twoSided = true;
    Vec3 emission;
    float clearcoat = 0.0F;
    float clearcoatRoughness = 0.0F;
    Vec3 sheenColor;
    float sheenRoughness = 0.0F;
    float transmission = 0.0F;
    float thickness = 0.0F;
    /// Absorption inside, for each unit of length.
    Vec3 absorption;
    TextureUse baseColorTexture;
    TextureUse metallicTexture;
    TextureUse roughnessTexture;
    TextureUse normalTexture;
    /// How far the normal texture bends normals.
    float normalScale = 1.0F;
    TextureUse opacityTexture;
    TextureUse emissiveTexture;
};

/// Returns all uses of textures by a material.
[[nodiscard]] inline std::array<const TextureUse*, 6> textureUses(const Material& m) noexcept {
    return {&m.baseColorTexture, &m.metallicTexture, &m.roughnessTexture,
            &m.normalTexture,    &m.opacityTexture,  &m.emissiveTexture};
}

/// A mesh at a place.
struct Instance {
    std::shared_ptr<const Mesh> mesh;
    std::shared_ptr<const Material> material;
    Transform toWorld;
    kelvo_sdk::NodeNumber node = kelvo_sdk::noNodeNumber;
    /// In the world.
    Box bounds = {};
};

enum class LightShape : u32 { Sphere, Spot, Sun, Rectangle, Ellipse, Sky };

/// A light at a place.
struct Light {
    LightShape shape = LightShape::Sphere;
    /// Intensity of a sphere or spot, irradiance of a sun, radiance of an area or a sky.
    LightColor color;
    bool castsShadows = true;
    /// Along -z the light shines; the lengths of x and y are half the extent of an area.
    Transform place;
    /// Of a sphere or spot, in the world.
    float radius = 0.0F;
    /// Half the angle of a sun's disc.
    float halfAngle = 0.0F;
    float cosInner = 1.0F;
    float cosOuter = -1.0F;
    /// Divide the intensity by c + l d + q d^2 at the distance d.
    Vec3 attenuation{0, 0, 1};
    bool isTwoSided = false;
    bool isInBackground = true;
    std::shared_ptr<const Texture> texture;
};

/// A camera in the world.
struct Camera {
    /// x is to the right, y up and -z forward; their lengths are 1.
    Transform place;
    float horizontalFov = 0.8F;
    /// 0 for that of the picture.
    float aspect = 0.0F;
    /// 0 in perspective.
    float orthographicWidth = 0.0F;
    float near = 0.1F;
    float far = 1000.0F;
};

struct NamedCamera {
    String name;
    Camera camera;
};

/// All of a scene that is rendered.
struct RenderScene {
    std::vector<Instance> instances;
    std::vector<Light> lights;
    std::vector<NamedCamera> cameras;
    /// Of the instances.
    Box bounds;
    Vec3 up{0, 1, 0};
    std::vector<Finding> findings;

    /// Makes the bounds those of the instances.
    void addBounds() noexcept {
        bounds = {};
        for (const Instance& instance : instances) {
            bounds.add(instance.bounds.min);
            bounds.add(instance.bounds.max);
        }
    }
};

} // namespace qv::render::impl
