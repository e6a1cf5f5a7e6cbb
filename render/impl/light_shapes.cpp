#include "render/impl/light_shapes.h"

namespace qv::render::impl {

namespace {

constexpr u32 areaGeometry = 0;
constexpr u32 ballGeometry = 1;

bool isArea(const Light& light) noexcept {
    return light.shape == LightShape::Rectangle || light.shape == LightShape::Ellipse;
}
bool isBall(const Light& light) noexcept {
    return light.radius > 0.0F &&
           (light.shape == LightShape::Sphere || light.shape == LightShape::Spot);
}

} // namespace

LightShapes::LightShapes(const std::vector<Light>& lights, const std::stop_token& stop)
    : m_lights(lights) {
    for (u32 i = 0; i < lights.size(); ++i) {
        if (isArea(lights[i])) m_areas.push_back(i);
        if (isBall(lights[i])) m_balls.push_back(i);
    }
    if (m_areas.empty() && m_balls.empty()) return;
    m_device.reset(rtcNewDevice("threads=1"));
    m_scene = std::make_unique<EmbreeScene>(m_device.get());
    if (!m_areas.empty()) addAreas();
    if (!m_balls.empty()) addBalls();
    m_scene->commit(stop);
}

void LightShapes::addAreas() {
    RTCGeometry geometry = rtcNewGeometry(m_device.get(), RTC_GEOMETRY_TYPE_QUAD);
    auto* corners = static_cast<Vec3*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, sizeof(Vec3), m_areas.size() * 4));
    auto* indices = static_cast<u32*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT4, 4 * sizeof(u32), m_areas.size()));
    for (u32 i = 0; i < m_areas.size(); ++i) {
        const Transform& place = m_lights[m_areas[i]].place;
        const Vec3 made[] = {place.origin - place.x - place.y, place.origin + place.x - place.y,
                             place.origin + place.x + place.y, place.origin - place.x + place.y};
        for (u32 k = 0; k < 4; ++k) {
            corners[i * 4 + k] = made[k];
            indices[i * 4 + k] = i * 4 + k;
        }
    }
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(m_scene->get(), geometry, areaGeometry);
    rtcReleaseGeometry(geometry);
}

void LightShapes::addBalls() {
    RTCGeometry geometry = rtcNewGeometry(m_device.get(), RTC_GEOMETRY_TYPE_SPHERE_POINT);
    auto* balls = static_cast<float*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT4, 4 * sizeof(float), m_balls.size()));
    for (u32 i = 0; i < m_balls.size(); ++i) {
        const Light& light = m_lights[m_balls[i]];
        balls[i * 4] = light.place.origin.x;
        balls[i * 4 + 1] = light.place.origin.y;
        balls[i * 4 + 2] = light.place.origin.z;
        balls[i * 4 + 3] = light.radius;
    }
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(m_scene->get(), geometry, ballGeometry);
    rtcReleaseGeometry(geometry);
}

std::optional<LightShapes::Meeting> LightShapes::nearest(const Ray& ray) const noexcept {
    const std::optional<Hit> hit = nearestIn(m_scene->get(), ray);
    if (!hit) return std::nullopt;
    const bool isAreaHit = hit->geometry == areaGeometry;
    const u32 light = isAreaHit ? m_areas[hit->triangle] : m_balls[hit->triangle];
    return Meeting{light, hit->distance, ray.at(hit->distance)};
}

bool LightShapes::shines(u32 number, const Vec3& direction, const Vec3& point) const noexcept {
    const Light& light = m_lights[number];
    const Transform& place = light.place;
    const Vec3 offset = point - place.origin;
    if (isBall(light)) return dot(offset, direction) < 0.0F;
    if (!light.isTwoSided && dot(direction, place.z) <= 0.0F) return false;
    if (light.shape == LightShape::Rectangle) return true;
    // The axes need not be at a right angle.
    const Vec3 across = cross(place.x, place.y);
    const float area2 = dot(across, across);
    const float x = dot(cross(offset, place.y), across) / area2;
    const float y = dot(cross(place.x, offset), across) / area2;
    return x * x + y * y <= 1.0F;
}

} // namespace qv::render::impl
