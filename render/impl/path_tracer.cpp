#include "render/impl/path_tracer.h"

#include "render/impl/sampling.h"
#include "render/impl/stopped.h"

namespace qv::render::impl {

namespace {

// Surfaces that a ray may pass through without being scattered.
constexpr u32 mostPassed = 256;

/// Follows one path from the camera.
class Path {
public:
    Path(const TracedScene& traced, const CameraRays& camera, const Ray& ray,
         const PathOptions& options, Random& random)
        : m_traced(traced),
          m_camera(camera),
          m_options(options),
          m_random(random),
          m_ray(ray),
          m_from(ray.origin) {}

    PixelSample trace() {
        while (step()) {
        }
        if (!isFinite(m_made.color)) m_made.color = {};
        return m_made;
    }

private:
    // Follows the ray to the next surface; false at the end of the path.
    bool step() {
        if (m_options.stop.stop_requested()) return false;
        const std::optional<Hit> hit = m_traced.accel().nearest(m_ray);
        meetLights(hit);
        if (!hit) return false;
        const Instance& instance = m_traced.scene().instances[hit->instance];
        const SurfacePoint point =
            surfaceAt(instance, m_traced.material(hit->instance), m_ray, *hit);
        if (point.opacity < 1.0F && m_random.next() >= point.opacity) return pass(hit->distance);
        if (m_bounces == 0) see(point, instance);
        absorb(point, instance);
        addEmission(point, instance, *hit);
        if (m_bounces == m_options.mostBounces) return false;
        return scatter(point);
    }

    // A ray that passes a surface keeps its density and the point that it came from.
    bool pass(float distance) {
        m_ray.near = distance * (1.0F + 1e-6F) + std::numeric_limits<float>::min();
        return ++m_passed < mostPassed;
    }

    [[nodiscard]] float weight(float lightPdf) const noexcept {
        return m_options.samplesLights ? misWeight(m_pdf, lightPdf) : 1.0F;
    }

    void meetLights(const std::optional<Hit>& hit) {
        Ray ray = m_ray;
        // Beyond what the camera sees there are still the lights at infinity.
        ray.far = hit ? hit->distance : std::numeric_limits<float>::infinity();
        const bool isSeen = m_bounces == 0;
        m_traced.lights().visit(ray, m_from, isSeen, [&](const LightColor& color, float pdf) {
            m_made.color += m_throughput * color.at(m_mirror) * weight(pdf);
            if (isSeen) m_made.alpha = 1.0F;
        });
    }

    void see(const SurfacePoint& point, const Instance& instance) noexcept {
        m_made.alpha = 1.0F;
        m_made.albedo = point.values.baseColor;
        m_made.normal = point.frame.z;
        m_made.depth = m_camera.depth(point.position);
        m_made.node = instance.node;
    }

    // The way to the back of a surface led through the body.
    void absorb(const SurfacePoint& point, const Instance& instance) noexcept {
        if (point.isFront || !point.values.dielectric) return;
        const float distance = length(point.position - m_from);
        const Vec3& a = instance.material->absorption;
        m_throughput *=
            {std::exp(-a.x * distance), std::exp(-a.y * distance), std::exp(-a.z * distance)};
    }

    void addEmission(const SurfacePoint& point, const Instance& instance, const Hit& hit) {
        if (point.emission == Vec3()) return;
        const float pdf =
            m_traced.lights().pdfOf(instance, hit.instance, hit.triangle, m_from, point.position);
        m_made.color += m_throughput * point.emission * weight(pdf);
    }

    bool scatter(const SurfacePoint& point) {
        const Bsdf bsdf(point.values, point.frame.toLocal(-m_ray.direction));
        if (m_options.samplesLights && !m_traced.lights().isEmpty()) addLight(point, bsdf);
        const Bsdf::Sample sample = bsdf.sample(m_random);
        const Vec3 direction = normalized(point.frame.toWorld(sample.wi));
        if (!(sample.pdf > 0.0F) || !isOnItsSide(point, direction, sample.wi)) return false;
        m_throughput *= sample.weight;
        m_mirror = sample.mirror;
        m_ray = point.ray(direction);
        m_from = point.position;
        m_pdf = sample.pdf;
        ++m_bounces;
        return survives();
    }

    // Where the normal is bent, reflected light must not get below the face.
    static bool isOnItsSide(const SurfacePoint& point, const Vec3& direction,
                            const Vec3& local) noexcept {
        return (dot(direction, point.faceNormal) > 0.0F) == (local.z > 0.0F);
    }

    void addLight(const SurfacePoint& point, const Bsdf& bsdf) {
        const LightSample light = m_traced.lights().sample(point.position, m_random);
        if (!(light.pdf > 0.0F) || light.color.isBlack()) return;
        const Vec3 local = point.frame.toLocal(light.direction);
        if (!isOnItsSide(point, light.direction, local)) return;
        const Bsdf::Value value = bsdf.at(local);
        if (value.color == Vec3()) return;
        Ray ray = point.ray(light.direction);
        ray.far = light.distance * (1.0F - 1e-4F);
        const float visible = light.castsShadows ? m_traced.visibility(ray) : 1.0F;
        const float weight = light.isOnlySampled ? 1.0F : misWeight(light.pdf, value.pdf);
        const Vec3 color = light.color.plain * (value.color - value.mirrored) +
                           light.color.mirrored * value.mirrored;
        m_made.color += m_throughput * color * (visible * weight / light.pdf);
    }

    // Ends dark paths by chance (Arvo and Kirk, 1990); the others stand for them.
    bool survives() noexcept {
        const float left = largest(m_throughput);
        if (!(left > 0.0F) || !std::isfinite(left)) return false;
        if (m_bounces < 3) return true;
        const float chance = std::min(left, 0.95F);
        if (m_random.next() >= chance) return false;
        m_throughput *= 1.0F / chance;
        return true;
    }

    const TracedScene& m_traced;
    const CameraRays& m_camera;
    const PathOptions& m_options;
    Random& m_random;
    PixelSample m_made;
    Ray m_ray;
    Vec3 m_throughput = gray(1);
    // The share of the throughput that mirrors reflected last.
    Vec3 m_mirror;
    // The point that the ray was scattered at, and the density of its direction there. No light
    // could have been looked for from the camera.
    Vec3 m_from;
    float m_pdf = std::numeric_limits<float>::infinity();
    u32 m_bounces = 0;
    u32 m_passed = 0;
};

} // namespace

TracedScene::TracedScene(const RenderScene& scene, const Accel& accel, const std::stop_token& stop)
    : m_scene(scene), m_accel(accel), m_lights(scene, stop) {
    (void)ggxTables(stop);
    m_materials.reserve(scene.instances.size());
    for (const Instance& instance : scene.instances) {
        endIfStopped(stop);
        const auto [entry, isNew] = m_prepared.try_emplace(instance.material.get());
        if (isNew) entry->second = prepared(instance.material, stop);
        m_materials.push_back(&entry->second);
        m_isOpaque &= instance.material->alphaMode == AlphaMode::Opaque;
    }
}

float TracedScene::visibility(Ray ray) const noexcept {
    if (m_isOpaque) return m_accel.isBlocked(ray) ? 0.0F : 1.0F;
    float share = 1.0F;
    for (u32 i = 0; i < mostPassed && share > 0.0F; ++i) {
        const std::optional<Hit> hit = m_accel.nearest(ray);
        if (!hit) return share;
        share *= 1.0F - opacityAt(m_scene.instances[hit->instance], *hit);
        ray.near = hit->distance * (1.0F + 1e-6F) + std::numeric_limits<float>::min();
    }
    return 0.0F;
}

PixelSample tracePath(const TracedScene& traced, const CameraRays& camera, const Ray& ray,
                      const PathOptions& options, Random& random) {
    return Path(traced, camera, ray, options, random).trace();
}

} // namespace qv::render::impl
