#pragma once

#include "render/impl/accel.h"

namespace qv::render::impl {

/// The shapes of lights that rays may meet: areas, and balls.
class LightShapes {
public:
    /// The lights live as long as the shapes. A stop throws `Stopped`.
    explicit LightShapes(const std::vector<Light>& lights, const std::stop_token& stop = {});

    /// Calls `visit(number, point)` for each light whose shining side the ray meets.
    template<class Visit>
    void visit(Ray ray, const Visit& visit) const {
        if (!m_scene) return;
        for (u32 i = 0; i < mostOnARay; ++i) {
            const std::optional<Meeting> met = nearest(ray);
            if (!met) return;
            if (shines(met->light, ray.direction, met->point)) visit(met->light, met->point);
            ray.near = met->distance * (1.0F + 1e-5F);
        }
    }

private:
    struct Meeting {
        u32 light = 0;
        float distance = 0.0F;
        Vec3 point;
    };
    struct DeviceRelease {
        void operator()(RTCDevice device) const noexcept { rtcReleaseDevice(device); }
    };
    static constexpr u32 mostOnARay = 256;

    void addAreas();
    void addBalls();
    [[nodiscard]] std::optional<Meeting> nearest(const Ray& ray) const noexcept;
    [[nodiscard]] bool shines(u32 light, const Vec3& direction, const Vec3& point) const noexcept;

    const std::vector<Light>& m_lights;
    std::unique_ptr<RTCDeviceTy, DeviceRelease> m_device;
    std::unique_ptr<EmbreeScene> m_scene;
    // The numbers of the lights.
    std::vector<u32> m_areas;
    std::vector<u32> m_balls;
};

} // namespace qv::render::impl
