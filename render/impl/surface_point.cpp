#include "render/impl/surface_point.h"

namespace qv::render::impl {

namespace {

// Interpolates a value of the corners; `none` if the mesh does not have such values.
template<class T>
T interpolated(const std::vector<T>& values, const Triangle& t, const Vec2& w, const T& none);

template<>
Vec3 interpolated(const std::vector<Vec3>& values, const Triangle& t, const Vec2& w,
                  const Vec3& none) {
    if (values.empty()) return none;
    return values[t[0]] * (1.0F - w.x - w.y) + values[t[1]] * w.x + values[t[2]] * w.y;
}
template<>
Vec2 interpolated(const std::vector<Vec2>& values, const Triangle& t, const Vec2& w,
                  const Vec2& none) {
    if (values.empty()) return none;
    const float w0 = 1.0F - w.x - w.y;
    return {values[t[0]].x * w0 + values[t[1]].x * w.x + values[t[2]].x * w.y,
            values[t[0]].y * w0 + values[t[1]].y * w.x + values[t[2]].y * w.y};
}
template<>
Vec4 interpolated(const std::vector<Vec4>& values, const Triangle& t, const Vec2& w,
                  const Vec4& none) {
    if (values.empty()) return none;
    const float w0 = 1.0F - w.x - w.y;
    const Vec4 &a = values[t[0]], &b = values[t[1]], &c = values[t[2]];
    return {a.color * w0 + b.color * w.x + c.color * w.y,
            a.alpha * w0 + b.alpha * w.x + c.alpha * w.y};
}

/// Looks up the values of the material at one point.
class MaterialLook {
public:
    MaterialLook(const Instance& instance, const Hit& hit) noexcept
        : m_material(*instance.material),
          m_mesh(*instance.mesh),
          m_triangle(m_mesh.triangles[hit.triangle]),
          m_weights(hit.weights),
          m_base(valueOf(m_material.baseColorTexture, Meaning::Colors)),
          m_vertex(interpolated(m_mesh.colors, m_triangle, m_weights, Vec4())) {}

    [[nodiscard]] float opacity() const noexcept {
        if (m_material.alphaMode == AlphaMode::Opaque) return 1.0F;
        const Vec4 own = valueOf(m_material.opacityTexture, Meaning::Numbers);
        const float value =
            m_material.opacity * m_base.alpha * m_vertex.alpha * std::min(own.color.x, own.alpha);
        if (m_material.alphaMode == AlphaMode::Mask)
            return value < m_material.alphaCutoff ? 0.0F : 1.0F;
        return std::clamp(value, 0.0F, 1.0F);
    }

    [[nodiscard]] Vec3 emission() const noexcept {
        if (m_material.emission == Vec3()) return {};
        return m_material.emission * valueOf(m_material.emissiveTexture, Meaning::Colors).color;
    }

    // Metal is in the blue channel and roughness in the green one, as pictures that hold both have
    // them; in a gray picture all channels are equal.
    [[nodiscard]] SurfaceValues values() const noexcept {
        const auto number = [&](const TextureUse& use) {
            return valueOf(use, Meaning::Numbers).color;
        };
        const Vec3 color = m_material.baseColor * m_base.color * m_vertex.color;
        const auto share = [](float value) { return std::clamp(value, 0.0F, 1.0F); };
        SurfaceValues made;
        made.baseColor = {share(color.x), share(color.y), share(color.z)};
        made.metallic = share(m_material.metallic * number(m_material.metallicTexture).z);
        made.roughness = share(m_material.roughness * number(m_material.roughnessTexture).y);
        made.ior = m_material.ior;
        made.clearcoat = m_material.clearcoat;
        made.clearcoatRoughness = m_material.clearcoatRoughness;
        made.sheenColor = m_material.sheenColor;
        made.sheenRoughness = m_material.sheenRoughness;
        made.transmission = m_material.transmission;
        return made;
    }

    /// Returns the normal in the space of the mesh; zero when only the triangle has one.
    [[nodiscard]] Vec3 normal() const noexcept {
        const Vec3 smooth = interpolated(m_mesh.normals, m_triangle, m_weights, Vec3());
        const TextureUse& use = m_material.normalTexture;
        if (!use.texture || !m_mesh.hasUvs(use.uvSet)) return smooth;
        const Vec3 base = normalized(smooth == Vec3() ? faceNormal() : smooth);
        const Vec3 tangent = tangentAlong(base);
        if (tangent == Vec3()) return smooth;
        const Vec3 across = acrossFrom(tangent, base);
        const Vec3 bent = valueOf(use, Meaning::Numbers).color * 2.0F - gray(1);
        const Vec2 slope = use.transform.direction({bent.x, bent.y});
        const float scale = m_material.normalScale;
        return tangent * (slope.x * scale) + across * (slope.y * scale) + base * bent.z;
    }

private:
    // Without texture coordinates the picture is seen at its lower left corner.
    [[nodiscard]] Vec4 valueOf(const TextureUse& use, Meaning meaning) const noexcept {
        if (!use.texture) return {};
        const Vec2 own = m_mesh.hasUvs(use.uvSet)
                             ? interpolated(m_mesh.uvs[use.uvSet], m_triangle, m_weights, Vec2())
                             : Vec2();
        const Vec2 uv = use.transform.at(own);
        return use.texture->at(uv.x, uv.y, use.wrapU, use.wrapV, meaning);
    }
    [[nodiscard]] const std::vector<Vec2>& normalUvs() const noexcept {
        return m_mesh.uvs[m_material.normalTexture.uvSet];
    }
    [[nodiscard]] Vec3 edge(u32 corner) const noexcept {
        return m_mesh.positions[m_triangle[corner]] - m_mesh.positions[m_triangle[0]];
    }
    [[nodiscard]] Vec2 uvEdge(u32 corner) const noexcept {
        const Vec2 &a = normalUvs()[m_triangle[0]], &b = normalUvs()[m_triangle[corner]];
        return {b.x - a.x, b.y - a.y};
    }
    [[nodiscard]] float uvArea() const noexcept {
        const Vec2 a = uvEdge(1), b = uvEdge(2);
        return a.x * b.y - a.y * b.x;
    }
    [[nodiscard]] Vec3 faceNormal() const noexcept { return cross(edge(1), edge(2)); }

    // Returns the direction in which u grows, at a right angle to the normal; zero without one.
    [[nodiscard]] Vec3 tangentAlong(const Vec3& normal) const noexcept {
        Vec3 along = interpolated(m_mesh.tangents, m_triangle, m_weights, Vec3());
        if (along == Vec3()) {
            const float side = uvArea() < 0.0F ? -1.0F : 1.0F;
            along = (edge(1) * uvEdge(2).y - edge(2) * uvEdge(1).y) * side;
        }
        return normalized(along - normal * dot(along, normal), Vec3());
    }
    // Returns the direction in which v grows, at a right angle to both; the other way round where
    // the picture is mirrored on the surface.
    [[nodiscard]] Vec3 acrossFrom(const Vec3& tangent, const Vec3& normal) const noexcept {
        const Vec3 across = cross(normal, tangent);
        const Vec3 given = interpolated(m_mesh.bitangents, m_triangle, m_weights, Vec3());
        if (!(given == Vec3())) return dot(across, given) < 0.0F ? -across : across;
        const bool isMirrored = uvArea() < 0.0F, isTurned = dot(faceNormal(), normal) < 0.0F;
        return isMirrored == isTurned ? across : -across;
    }

    const Material& m_material;
    const Mesh& m_mesh;
    const Triangle& m_triangle;
    Vec2 m_weights;
    Vec4 m_base;
    Vec4 m_vertex;
};

// Returns the normal of a triangle. A mirror image turns its corners round, but not its front.
Vec3 frontOf(const Instance& instance, const std::array<Vec3, 3>& corners) noexcept {
    const Vec3 normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    return normalized(instance.toWorld.determinant() < 0.0F ? -normal : normal);
}

float largestCoordinate(const Vec3& p) noexcept {
    return std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)});
}

} // namespace

PreparedMaterial prepared(const std::shared_ptr<const Material>& material,
                          const std::stop_token& stop) {
    PreparedMaterial made{material, nullptr, nullptr};
    if (largest(material->sheenColor) > 0.0F) (void)sheenTable(stop);
    if (material->transmission > 0.0F && material->thickness > 0.0F && material->ior > 1.0F) {
        made.outside =
            std::make_shared<const AlbedoTable>(makeDielectricTable(material->ior, stop));
        made.inside =
            std::make_shared<const AlbedoTable>(makeDielectricTable(1.0F / material->ior, stop));
    }
    return made;
}

std::array<Vec3, 3> worldCorners(const Instance& instance, u32 triangle) noexcept {
    const Triangle& t = instance.mesh->triangles[triangle];
    const std::vector<Vec3>& positions = instance.mesh->positions;
    return {instance.toWorld.point(positions[t[0]]), instance.toWorld.point(positions[t[1]]),
            instance.toWorld.point(positions[t[2]])};
}

Vec3 emissionAt(const Instance& instance, const Ray& ray, const Hit& hit) noexcept {
    const bool isFront =
        dot(frontOf(instance, worldCorners(instance, hit.triangle)), ray.direction) < 0.0F;
    if (!isFront && !instance.material->twoSided) return {};
    const MaterialLook look(instance, hit);
    return look.emission() * look.opacity();
}

float opacityAt(const Instance& instance, const Hit& hit) noexcept {
    if (instance.material->alphaMode == AlphaMode::Opaque) return 1.0F;
    return MaterialLook(instance, hit).opacity();
}

SurfacePoint surfaceAt(const Instance& instance, const PreparedMaterial& prepared, const Ray& ray,
                       const Hit& hit) noexcept {
    const auto corners = worldCorners(instance, hit.triangle);
    const Vec3 a = corners[1] - corners[0], b = corners[2] - corners[0];
    const MaterialLook look(instance, hit);
    SurfacePoint point;
    point.position = corners[0] + a * hit.weights.x + b * hit.weights.y;
    const Vec3 front = frontOf(instance, corners);

    point.isFront = dot(front, ray.direction) < 0.0F;
    point.faceNormal = point.isFront ? front : -front;
    const Vec3 smooth = look.normal();
    const Vec3 world = smooth == Vec3() ? front : instance.toWorld.normal(smooth);
    Vec3 normal = normalized(dot(world, point.faceNormal) < 0.0F ? -world : world, front);
    // A bent normal that the ray sees from behind would scatter nothing.
    if (dot(normal, ray.direction) >= 0.0F) normal = point.faceNormal;
    point.frame = Frame::around(normal);
    const float scale =
        std::max({largestCoordinate(corners[0]), largestCoordinate(corners[1]),
                  largestCoordinate(corners[2]), largestCoordinate(instance.toWorld.origin)});
    point.gap = 1e-5F * scale;
    point.opacity = look.opacity();
    const Material& material = *instance.material;
    if (point.isFront || material.twoSided) point.emission = look.emission();
    point.values = look.values();
    point.values.eta = point.isFront ? material.ior : 1.0F / material.ior;
    point.values.dielectric = point.isFront ? prepared.outside.get() : prepared.inside.get();
    return point;
}

} // namespace qv::render::impl
