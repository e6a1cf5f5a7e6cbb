#pragma once

#include "render/impl/albedo_table.h"
#include "render/impl/random.h"
#include "render/impl/vec3.h"

namespace qv::render::impl {

/// The material at a point of a surface, seen from one side.
struct SurfaceValues {
    Vec3 baseColor{0.8F, 0.8F, 0.8F};
    float metallic = 0.0F;
    float roughness = 0.5F;
    float ior = 1.5F;
    float clearcoat = 0.0F;
    float clearcoatRoughness = 0.0F;
    Vec3 sheenColor;
    float sheenRoughness = 0.0F;
    float transmission = 0.0F;
    /// The index of refraction behind the surface by that in front.
    float eta = 1.5F;
    /// For a body that light is refracted into; null for a thin sheet.
    const AlbedoTable* dielectric = nullptr;
};

/// How a point of a surface scatters light. Directions point away from it, in a frame whose z axis
/// is the normal on the side of `wo`.
///
/// The layers, from the outside: clear coat, sheen, then reflection by GGX mirrors above diffuse
/// reflection or transmission. Light that mirrors reflect several times is accounted for (Kulla and
/// Conty, 2017), so that a white surface returns all light. Each layer lets through what it does
/// not return towards `wo`. Refraction leaves out the factor by which radiance grows inside a body:
/// it cancels when the light leaves.
class Bsdf {
public:
    struct Value {
        /// Multiplied by the cosine of `wi`.
        Vec3 color;
        /// The part of the colour that mirrors reflect.
        Vec3 mirrored;
        /// The density with which `sample` returns the direction.
        float pdf = 0.0F;
    };
    struct Sample {
        Vec3 wi;
        /// The value by the density; black when there is no direction.
        Vec3 weight;
        /// The share of the value, from 0 to 1, that mirrors reflect.
        Vec3 mirror;
        float pdf = 0.0F;
    };

    Bsdf(const SurfaceValues& surface, const Vec3& wo) noexcept;

    [[nodiscard]] Value at(const Vec3& wi) const noexcept;
    [[nodiscard]] Sample sample(Random& random) const noexcept;

private:
    enum Lobe : u32 { Coat, Mirror, Diffuse, Thin, Glass, lobeCount };

    void weighMirrors() noexcept;
    void weighLayers() noexcept;
    void setChances() noexcept;
    [[nodiscard]] Vec3 sampleDirection(Lobe lobe, Random& random) const noexcept;
    [[nodiscard]] Vec3 sampleGlass(Random& random) const noexcept;
    [[nodiscard]] Vec3 mirroredBase(const Vec3& wi, const GgxTables::Shares& in) const noexcept;
    [[nodiscard]] Vec3 scatteredBase(const Vec3& wi, const GgxTables::Shares& in) const noexcept;
    [[nodiscard]] float coatValue(const Vec3& wi) const noexcept;
    [[nodiscard]] Value glassReflection(const Vec3& wi) const noexcept;
    [[nodiscard]] Value glassRefraction(const Vec3& wi) const noexcept;
    [[nodiscard]] Value reflection(const Vec3& wi) const noexcept;
    [[nodiscard]] Value transmission(const Vec3& wi) const noexcept;
    [[nodiscard]] float mirrorPdf(const Vec3& wi, float alpha) const noexcept;
    [[nodiscard]] GgxTables::Shares mirrored(const Vec3& w) const noexcept;
    [[nodiscard]] float belowDielectric(const GgxTables::Shares& shares) const noexcept;

    const SurfaceValues& m_surface;
    Vec3 m_wo;
    float m_alpha;
    float m_coatAlpha;
    float m_dielectricF0;
    float m_dielectricF90;
    // Shares of the base: metal, opaque or thin dielectric, and those that let light through.
    float m_metal;
    float m_plain;
    float m_opaque;
    float m_thin;
    float m_glass;
    // The shares that mirrors return of light from `wo`, and of light from everywhere.
    GgxTables::Shares m_out;
    GgxTables::Shares m_mean;
    // The reflectance of the mirrors head on and at grazing angles, and of repeated reflection.
    Vec3 m_f0;
    float m_f90 = 0.0F;
    Vec3 m_repeated;
    float m_repeatedDielectric = 0.0F;
    // The shares of light that reach the sheen and the base.
    float m_belowCoat = 1.0F;
    float m_belowSheen = 1.0F;
    float m_chances[lobeCount]{};
    // The share of the light through a thin sheet that mirrors reflect several times.
    float m_thinRepeated = 0.0F;
};

} // namespace qv::render::impl
