#include "render/impl/light_set.h"

#include "render/impl/sampling.h"
#include "render/impl/stopped.h"
#include "render/impl/surface_point.h"

namespace qv::render::impl {

namespace {

// The longest side of the grid by which a picture of the sky is sampled.
constexpr u32 mostSkyColumns = 2048;

bool isInfinite(const Light& light) noexcept {
    return light.shape == LightShape::Sun || light.shape == LightShape::Sky;
}
// Returns 1 - cos of the half angle under which a ball is seen, without cancellation.
float ballOneMinusCos(float sin2) noexcept {
    return sin2 / (1.0F + std::sqrt(std::max(0.0F, 1.0F - sin2)));
}

float coneFactor(const Light& light, const Vec3& from) noexcept {
    if (light.shape != LightShape::Spot) return 1.0F;
    const float cosine = -dot(normalized(from - light.place.origin), light.place.z);
    if (cosine >= light.cosInner) return 1.0F;
    if (cosine <= light.cosOuter) return 0.0F;
    return sqr((cosine - light.cosOuter) / (light.cosInner - light.cosOuter));
}

LightColor ballRadiance(const Light& light, const Vec3& from) noexcept {
    return light.color * (coneFactor(light, from) / (pi * sqr(light.radius)));
}

float areaOf(const Light& light) noexcept {
    const float quarter = length(cross(light.place.x, light.place.y));
    return quarter * (light.shape == LightShape::Ellipse ? pi : 4.0F);
}
// Turns a density over an area into one over the solid angle.
float overAngle(float areaPdf, float distance, float cosine) noexcept {
    return cosine > 0.0F ? areaPdf * distance * distance / cosine : 0.0F;
}

float sunOneMinusCos(const Light& light) noexcept {
    const float half = std::sin(light.halfAngle / 2.0F);
    return 2.0F * half * half;
}
LightColor sunRadiance(const Light& light) noexcept {
    return light.color / (pi * sqr(std::sin(light.halfAngle)));
}
// A smaller disc counts as a point.
bool hasDisc(const Light& light) noexcept {
    return light.halfAngle > 1e-4F;
}

// Returns the place of a direction in a picture of the sky, from the left and from the top.
Vec2 skyPlace(const Light& light, const Vec3& direction) noexcept {
    const Transform& p = light.place;
    const Vec3 d{dot(direction, p.x), dot(direction, p.y), dot(direction, p.z)};
    return {0.5F + std::atan2(d.x, -d.z) / (2.0F * pi),
            std::acos(std::clamp(d.y, -1.0F, 1.0F)) / pi};
}
Vec3 skyDirection(const Light& light, const Vec2& at) noexcept {
    const float angle = (at.x - 0.5F) * 2.0F * pi, polar = at.y * pi;
    const float sine = std::sin(polar);
    return light.place.vector({sine * std::sin(angle), std::cos(polar), -sine * std::cos(angle)});
}

LightSample samplePoint(const Light& light, const Vec3& from) noexcept {
    const Vec3 offset = light.place.origin - from;
    LightSample sample;
    sample.distance = length(offset);
    if (!(sample.distance > 0.0F)) return {};
    sample.direction = offset / sample.distance;
    const Vec3& a = light.attenuation;
    const float divisor = a.x + a.y * sample.distance + a.z * sqr(sample.distance);
    if (!std::isnormal(divisor)) return {};
    sample.color = light.color * (coneFactor(light, from) / divisor);
    sample.pdf = 1.0F;
    sample.isOnlySampled = true;
    return sample;
}

LightSample sampleBall(const Light& light, const Vec3& from, const Vec2& u) noexcept {
    const Vec3 offset = light.place.origin - from;
    const float distance = length(offset), sin2 = sqr(light.radius / distance);
    if (!(sin2 < 1.0F)) return {};
    const float oneMinusCos = ballOneMinusCos(sin2);
    const Vec3 local = inCone(1.0F - oneMinusCos, u);
    LightSample sample;
    sample.direction = Frame::around(offset / distance).toWorld(local);
    const float half = std::sqrt(std::max(0.0F, sin2 - (1.0F - local.z * local.z)));
    sample.distance = distance * (local.z - half);
    sample.color = ballRadiance(light, from);
    sample.pdf = 1.0F / coneSolidAngle(oneMinusCos);
    return sample;
}

LightSample sampleArea(const Light& light, const Vec3& from, const Vec2& u) noexcept {
    const Vec2 p =
        light.shape == LightShape::Ellipse ? inDisc(u) : Vec2{2.0F * u.x - 1.0F, 2.0F * u.y - 1.0F};
    const Vec3 offset = light.place.point({p.x, p.y, 0.0F}) - from;
    LightSample sample;
    sample.distance = length(offset);
    if (!(sample.distance > 0.0F)) return {};
    sample.direction = offset / sample.distance;
    const float cosine = dot(sample.direction, light.place.z);
    sample.color = light.color;
    sample.pdf = overAngle(1.0F / areaOf(light), sample.distance,
                           light.isTwoSided ? std::abs(cosine) : cosine);
    return sample;
}

LightSample sampleSun(const Light& light, const Vec2& u) noexcept {
    LightSample sample;
    sample.isOnlySampled = !hasDisc(light);
    if (sample.isOnlySampled) {
        sample.direction = light.place.z;
        sample.color = light.color;
        sample.pdf = 1.0F;
        return sample;
    }
    const float oneMinusCos = sunOneMinusCos(light);
    sample.direction = Frame::around(light.place.z).toWorld(inCone(1.0F - oneMinusCos, u));
    sample.color = sunRadiance(light);
    sample.pdf = 1.0F / coneSolidAngle(oneMinusCos);
    return sample;
}

} // namespace

LightSet::LightSet(const RenderScene& scene, const std::stop_token& stop)
    : m_scene(scene), m_shapes(scene.lights, stop) {
    addLights(stop);
    addInstances(stop);
    m_chances = Distribution(m_powers);
}

float LightSet::powerOf(const Light& light) const noexcept {
    const float brightness = luminance(light.color.most()), radius = m_scene.bounds.radius();
    switch (light.shape) {
    case LightShape::Sphere:
        return brightness * 4.0F * pi;
    case LightShape::Spot:
        return brightness * coneSolidAngle(1.0F - light.cosOuter);
    case LightShape::Sun:
        return brightness * pi * sqr(radius);
    case LightShape::Sky:
        return brightness * 4.0F * sqr(pi * radius);
    default:
        return brightness * pi * areaOf(light) * (light.isTwoSided ? 2.0F : 1.0F);
    }
}

void LightSet::addLights(const std::stop_token& stop) {
    for (u32 i = 0; i < m_scene.lights.size(); ++i) {
        endIfStopped(stop);
        const Light& light = m_scene.lights[i];
        m_entryOfLight.push_back(static_cast<u32>(m_entries.size()));
        m_entries.push_back({i, false});
        m_powers.push_back(std::min(powerOf(light), 1e30F));
        if (isInfinite(light)) m_infinite.push_back(i);
        if (light.shape == LightShape::Sky && light.texture) prepareSky(i, stop);
    }
}

// Returns the areas of the triangles in the space of the mesh.
Distribution areasOf(const Instance& instance, const std::stop_token& stop) {
    std::vector<float> weights;
    weights.reserve(instance.mesh->triangles.size());
    for (u32 t = 0; t < instance.mesh->triangles.size(); ++t) {
        endIfStopped(stop);
        const auto corners = worldCorners({instance.mesh, nullptr, {}, 0}, t);
        weights.push_back(length(polygonNormal(corners)) / 2.0F);
    }
    return Distribution(weights);
}

void LightSet::addInstances(const std::stop_token& stop) {
    m_entryOfInstance.assign(m_scene.instances.size(), none);
    for (u32 i = 0; i < m_scene.instances.size(); ++i) {
        endIfStopped(stop);
        const Instance& instance = m_scene.instances[i];
        const float brightness = luminance(instance.material->emission);
        if (!(brightness > 0.0F)) continue;
        const auto [areas, isNew] = m_areas.try_emplace(instance.mesh.get());
        if (isNew) areas->second = areasOf(instance, stop);
        const float scale = std::cbrt(std::abs(instance.toWorld.determinant()));
        const float power =
            brightness * pi * static_cast<float>(areas->second.total()) * sqr(scale);
        m_entryOfInstance[i] = static_cast<u32>(m_entries.size());
        m_entries.push_back({i, true});
        m_powers.push_back(std::min(power, 1e30F));
    }
}

void LightSet::prepareSky(u32 number, const std::stop_token& stop) {
    const Texture& texture = *m_scene.lights[number].texture;
    const u32 width = std::min(texture.width, mostSkyColumns);
    const u32 height = std::min(texture.height, mostSkyColumns / 2);
    std::vector<float> weights;
    double sum = 0.0;
    for (u32 y = 0; y < height; ++y) {
        endIfStopped(stop);
        const float v = (static_cast<float>(y) + 0.5F) / static_cast<float>(height);
        for (u32 x = 0; x < width; ++x) {
            const float u = (static_cast<float>(x) + 0.5F) / static_cast<float>(width);
            const Vec3 color = texture.at(u, 1.0F - v, Wrap::Repeat, Wrap::Clamp).color;
            weights.push_back(std::clamp(luminance(color), 0.0F, 1e20F) * std::sin(v * pi));
            sum += static_cast<double>(weights.back());
        }
    }
    m_skies.emplace(number, Distribution2D(weights, width));
    // The mean of the sine is 2 / pi.
    m_powers.back() *= static_cast<float>(sum / static_cast<double>(weights.size())) * pi / 2.0F;
}

LightSample LightSet::sample(const Vec3& from, Random& random) const noexcept {
    const Distribution::Pick pick = m_chances.pick(random.next());
    const Entry entry = m_entries[pick.index];
    LightSample sample = entry.isInstance ? sampleInstance(entry.number, from, random)
                                          : sampleLight(entry.number, from, random);
    sample.pdf *= pick.chance;
    return sample;
}

LightSample LightSet::sampleLight(u32 number, const Vec3& from, Random& random) const noexcept {
    const Light& light = m_scene.lights[number];
    const bool isBall = light.shape == LightShape::Sphere || light.shape == LightShape::Spot;
    LightSample sample;
    if (light.shape == LightShape::Sky)
        sample = sampleSky(number, random);
    else if (light.shape == LightShape::Sun)
        sample = sampleSun(light, random.nextPair());
    else if (!isBall)
        sample = sampleArea(light, from, random.nextPair());
    else
        sample = light.radius > 0.0F ? sampleBall(light, from, random.nextPair())
                                     : samplePoint(light, from);
    sample.castsShadows = light.castsShadows;
    sample.isOnlySampled |= !light.castsShadows;
    return sample;
}

LightSample LightSet::sampleInstance(u32 number, const Vec3& from, Random& random) const noexcept {
    const Instance& instance = m_scene.instances[number];
    const Distribution::Pick pick = m_areas.at(instance.mesh.get()).pick(random.next());
    const u32 triangle = static_cast<u32>(pick.index);
    const auto corners = worldCorners(instance, triangle);
    const Vec2 weights = inTriangle(random.nextPair());
    const Vec3 normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const Vec3 offset = corners[0] + (corners[1] - corners[0]) * weights.x +
                        (corners[2] - corners[0]) * weights.y - from;
    LightSample sample;
    sample.distance = length(offset);
    const float size = length(normal);
    if (!(sample.distance > 0.0F) || !(size > 0.0F)) return {};
    sample.direction = offset / sample.distance;
    const Hit hit{sample.distance, number, 0, triangle, weights};
    sample.color = emissionAt(instance, {from, sample.direction}, hit);
    sample.pdf = overAngle(pick.chance * 2.0F / size, sample.distance,
                           std::abs(dot(sample.direction, normal)) / size);
    return sample;
}

float LightSet::pdfOf(const Instance& instance, u32 number, u32 triangle, const Vec3& from,
                      const Vec3& point) const noexcept {
    const u32 entry = m_entryOfInstance[number];
    if (entry == none) return 0.0F;
    const auto corners = worldCorners(instance, triangle);
    const Vec3 normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const Vec3 offset = point - from;
    const float distance = length(offset), size = length(normal);
    const float chance = m_chances.chance(entry) * m_areas.at(instance.mesh.get()).chance(triangle);
    return overAngle(chance * 2.0F / size, distance,
                     std::abs(dot(offset, normal)) / (distance * size));
}

LightColor LightSet::skyColor(u32 number, const Vec3& direction) const noexcept {
    const Light& light = m_scene.lights[number];
    if (!light.texture) return light.color;
    const Vec2 at = skyPlace(light, direction);
    return light.color * light.texture->at(at.x, 1.0F - at.y, Wrap::Repeat, Wrap::Clamp).color;
}

float LightSet::skyPdf(u32 number, const Vec3& direction) const noexcept {
    const auto sky = m_skies.find(number);
    if (sky == m_skies.end()) return 1.0F / (4.0F * pi);
    const Vec2 at = skyPlace(m_scene.lights[number], direction);
    const float sine = std::sin(at.y * pi);
    return sine > 1e-6F ? sky->second.density(at) / (2.0F * pi * pi * sine) : 0.0F;
}

LightSample LightSet::sampleSky(u32 number, Random& random) const noexcept {
    const Light& light = m_scene.lights[number];
    const auto sky = m_skies.find(number);
    const Vec2 u = random.nextPair();
    LightSample sample;
    sample.direction =
        sky == m_skies.end() ? inCone(-1.0F, u) : skyDirection(light, sky->second.pick(u).at);
    sample.color = skyColor(number, sample.direction);
    sample.pdf = skyPdf(number, sample.direction);
    return sample;
}

void LightSet::visit(const Ray& ray, const Vec3& from, bool isSeen, const Visitor& visitor) const {
    visitShapes(ray, from, isSeen, visitor);
    if (std::isinf(ray.far)) visitInfinite(ray, isSeen, visitor);
}

void LightSet::visitShapes(const Ray& ray, const Vec3& from, bool isSeen,
                           const Visitor& visitor) const {
    m_shapes.visit(ray, [&](u32 number, const Vec3& point) {
        const Light& light = m_scene.lights[number];
        if (!light.castsShadows && !isSeen) return;
        const float chance = m_chances.chance(m_entryOfLight[number]);
        if (light.radius > 0.0F) {
            const Vec3 offset = light.place.origin - from;
            const float sin2 = sqr(light.radius) / dot(offset, offset);
            const LightColor color = ballRadiance(light, from);
            // A spot is not seen from outside its cone.
            if (sin2 < 1.0F && !color.isBlack())
                visitor(color, chance / coneSolidAngle(ballOneMinusCos(sin2)));
            return;
        }
        const float cosine = std::abs(dot(ray.direction, light.place.z));
        visitor(light.color, overAngle(chance / areaOf(light), length(point - from), cosine));
    });
}

void LightSet::visitInfinite(const Ray& ray, bool isSeen, const Visitor& visitor) const {
    for (const u32 number : m_infinite) {
        const Light& light = m_scene.lights[number];
        if (!light.castsShadows && !isSeen) continue;
        const float chance = m_chances.chance(m_entryOfLight[number]);
        if (light.shape == LightShape::Sky) {
            if (isSeen && !light.isInBackground) continue;
            visitor(skyColor(number, ray.direction), chance * skyPdf(number, ray.direction));
        } else if (hasDisc(light)) {
            // 1 - cos of the angle, without cancellation.
            const Vec3 difference = ray.direction - light.place.z;
            const float oneMinusCos = sunOneMinusCos(light);
            if (dot(difference, difference) / 2.0F <= oneMinusCos)
                visitor(sunRadiance(light), chance / coneSolidAngle(oneMinusCos));
        }
    }
}

} // namespace qv::render::impl
