#pragma once

#include "render/impl/camera_rays.h"
#include "render/impl/light_set.h"
#include "render/impl/surface_point.h"

namespace qv::render::impl {

/// One sample of a pixel: the light that arrives, and the first surface that is seen.
struct PixelSample {
    Vec3 color;
    /// 0 where the background is empty.
    float alpha = 0.0F;
    Vec3 albedo;
    Vec3 normal;
    /// Along the axis of the camera; infinite where nothing is seen.
    float depth = std::numeric_limits<float>::infinity();
    kelvo_sdk::NodeNumber node = kelvo_sdk::noNodeNumber;
};

struct PathOptions {
    u32 mostBounces = 12;
    /// Looks for lights at each surface, instead of waiting until a ray meets one.
    bool samplesLights = true;
    /// Ends the path at once.
    std::stop_token stop;
};

/// A scene that is ready to be traced through.
class TracedScene {
public:
    /// A stop throws `Stopped`.
    TracedScene(const RenderScene& scene, const Accel& accel, const std::stop_token& stop = {});

    [[nodiscard]] const LightSet& lights() const noexcept { return m_lights; }
    [[nodiscard]] const RenderScene& scene() const noexcept { return m_scene; }
    [[nodiscard]] const Accel& accel() const noexcept { return m_accel; }
    [[nodiscard]] const PreparedMaterial& material(u32 instance) const noexcept {
        return *m_materials[instance];
    }
    /// Returns the share of light that gets through on a ray.
    [[nodiscard]] float visibility(Ray ray) const noexcept;

private:
    const RenderScene& m_scene;
    const Accel& m_accel;
    LightSet m_lights;
    std::unordered_map<const Material*, PreparedMaterial> m_prepared;
    std::vector<const PreparedMaterial*> m_materials;
    bool m_isOpaque = true;
};

/// Returns the light that arrives along a ray of the camera (Kajiya, 1986). Light comes from lights
/// that are looked for, and from those that scattered rays meet; each counts by how likely it is.
/// After a stop the sample is worth nothing.
[[nodiscard]] PixelSample tracePath(const TracedScene& traced, const CameraRays& camera,
                                    const Ray& ray, const PathOptions& options, Random& random);

} // namespace qv::render::impl
