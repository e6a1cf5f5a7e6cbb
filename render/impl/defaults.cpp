#include "render/impl/defaults.h"

#include "render/impl/placing.h"

namespace qv::render::impl {

Camera cameraThatShows(const RenderScene& scene) noexcept {
    const bool isZUp = scene.up.z > 0.0F;
    const Vec3 towards = normalized(isZUp ? Vec3{0.6F, -1.0F, 0.5F} : Vec3{0.6F, 0.5F, 1.0F});
    const Vec3 center = scene.bounds.isEmpty() ? Vec3() : scene.bounds.center();
    const float radius = scene.bounds.radius() * 1.05F;
    Camera camera;
    camera.aspect = 1.0F;
    const float distance = radius / std::sin(camera.horizontalFov / 2.0F);
    camera.place = placeOf({}, center + towards * distance, -towards, scene.up);
    camera.near = (distance - radius) * 0.5F;
    camera.far = std::numeric_limits<float>::infinity();
    return camera;
}

void addDefaultLights(const Camera& camera, std::vector<Light>& lights) {
    const Transform& place = camera.place;
    Light sun;
    sun.shape = LightShape::Sun;
    sun.color = gray(2.5F);
    sun.halfAngle = 0.03F;
    sun.place = placeOf({}, {}, -(place.z + place.y * 0.8F - place.x * 0.6F), place.y);
    lights.push_back(sun);
    Light sky;
    sky.shape = LightShape::Sky;
    sky.color = gray(0.3F);
    sky.isInBackground = false;
    lights.push_back(sky);
}

bool hasLight(const RenderScene& scene) noexcept {
    return !scene.lights.empty() ||
           std::any_of(scene.instances.begin(), scene.instances.end(),
                       [](const Instance& i) { return largest(i.material->emission) > 0.0F; });
}

} // namespace qv::render::impl
