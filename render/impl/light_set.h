#pragma once

#include "render/impl/accel.h"
#include "render/impl/distribution.h"
#include "render/impl/light_shapes.h"
#include "render/impl/random.h"

#include <functional>

namespace qv::render::impl {

/// Light that arrives at a point from one direction.
struct LightSample {
    Vec3 direction;
    float distance = std::numeric_limits<float>::infinity();
    /// The radiance, or the irradiance of a light without extent.
    LightColor color;
    /// With respect to the solid angle; 0 when there is no light.
    float pdf = 0.0F;
    /// No ray meets the light by chance: it has no extent, or shines through everything.
    bool isOnlySampled = false;
    bool castsShadows = true;
};

/// All that shines in a scene: lights, and instances whose material emits light. Light passes
/// through the shapes of lights.
class LightSet {
public:
    /// The scene lives as long as the set. A stop throws `Stopped`.
    explicit LightSet(const RenderScene& scene, const std::stop_token& stop = {});

    [[nodiscard]] bool isEmpty() const noexcept { return m_entries.empty(); }
    /// Picks a light by its power, and a direction in which `from` sees it.
    [[nodiscard]] LightSample sample(const Vec3& from, Random& random) const noexcept;

    /// Gets the radiance of a light on a ray, and the density with which `sample` at `from`, a
    /// point behind the start of the ray, picks this direction.
    using Visitor = std::function<void(const LightColor& color, float pdf)>;
    /// Visits the lights that the ray meets before its end, and those at infinity if it has none.
    /// `isSeen` tells that the camera sees the ray.
    void visit(const Ray& ray, const Vec3& from, bool isSeen, const Visitor& visitor) const;

    /// Returns the density with which `sample` at `from` picks a point of an instance.
    [[nodiscard]] float pdfOf(const Instance& instance, u32 number, u32 triangle, const Vec3& from,
                              const Vec3& point) const noexcept;

private:
    struct Entry {
        u32 number = 0;
        bool isInstance = false;
    };
    // The areas of the triangles of a mesh, in the space of the mesh.
    using Areas = std::unordered_map<const Mesh*, Distribution>;
    static constexpr u32 none = 0xffffffff;

    void addLights(const std::stop_token& stop);
    void addInstances(const std::stop_token& stop);
    void prepareSky(u32 number, const std::stop_token& stop);
    [[nodiscard]] float powerOf(const Light& light) const noexcept;
    [[nodiscard]] LightSample sampleLight(u32 number, const Vec3& from,
                                          Random& random) const noexcept;
    [[nodiscard]] LightSample sampleInstance(u32 number, const Vec3& from,
                                             Random& random) const noexcept;
    [[nodiscard]] LightSample sampleSky(u32 number, Random& random) const noexcept;
    void visitShapes(const Ray& ray, const Vec3& from, bool isSeen, const Visitor& visitor) const;
    void visitInfinite(const Ray& ray, bool isSeen, const Visitor& visitor) const;
    [[nodiscard]] LightColor skyColor(u32 number, const Vec3& direction) const noexcept;
    [[nodiscard]] float skyPdf(u32 number, const Vec3& direction) const noexcept;

    const RenderScene& m_scene;
    std::vector<Entry> m_entries;
    std::vector<float> m_powers;
    Distribution m_chances;
    // The entry of each light and instance; `none` for one that does not shine.
    std::vector<u32> m_entryOfLight;
    std::vector<u32> m_entryOfInstance;
    std::vector<u32> m_infinite;
    std::unordered_map<u32, Distribution2D> m_skies;
    Areas m_areas;
    LightShapes m_shapes;
};

} // namespace qv::render::impl
