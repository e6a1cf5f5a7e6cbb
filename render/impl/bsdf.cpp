#include "render/impl/bsdf.h"

#include "render/impl/fresnel.h"
#include "render/impl/microfacet.h"
#include "render/impl/sheen.h"

namespace qv::render::impl {

namespace {

constexpr float coatF0 = 0.04F;

// Returns the share of the light that is lost after one reflection and comes out after more.
Vec3 repeatedReflectance(const Vec3& f0, float f90, float meanOnce) noexcept {
    const Vec3 f = meanReflectance(f0, f90);
    const auto channel = [meanOnce](float c) {
        return c * c * meanOnce / (1.0F - c * (1.0F - meanOnce));
    };
    return {channel(f.x), channel(f.y), channel(f.z)};
}

// Returns the share of a value that mirrors reflect.
Vec3 mirrorShare(const Bsdf::Value& value) noexcept {
    const auto share = [](float part, float whole) { return whole > 0.0F ? part / whole : 0.0F; };
    return {share(value.mirrored.x, value.color.x), share(value.mirrored.y, value.color.y),
            share(value.mirrored.z, value.color.z)};
}

float alphaOf(float roughness) noexcept {
    return std::max(roughness * roughness, leastAlpha);
}

} // namespace

Bsdf::Bsdf(const SurfaceValues& surface, const Vec3& wo) noexcept
    : m_surface(surface),
      m_wo(wo),
      m_alpha(alphaOf(surface.roughness)),
      m_coatAlpha(alphaOf(surface.clearcoatRoughness)),
      m_dielectricF0(normalReflectance(surface.ior)),
      m_dielectricF90(grazingReflectance(m_dielectricF0)),
      m_metal(surface.metallic) {
    m_wo.z = std::max(m_wo.z, 1e-4F);
    const float clear = (1.0F - m_metal) * surface.transmission;
    m_opaque = 1.0F - m_metal - clear;
    m_glass = surface.dielectric ? clear : 0.0F;
    m_thin = clear - m_glass;
    m_plain = m_opaque + m_thin;
    weighMirrors();
    weighLayers();
    setChances();
}

void Bsdf::weighMirrors() noexcept {
    m_f0 = m_surface.baseColor * m_metal + gray(m_dielectricF0 * m_plain);
    m_f90 = m_metal + m_dielectricF90 * m_plain;
    m_out = mirrored(m_wo);
    m_mean = ggxTables().mean(m_surface.roughness);
    const float meanOnce = m_mean.plain + m_mean.grazing;
    m_repeatedDielectric = repeatedReflectance(gray(m_dielectricF0), m_dielectricF90, meanOnce).x;
    m_repeated = repeatedReflectance(m_surface.baseColor, 1.0F, meanOnce) * m_metal +
                 gray(m_repeatedDielectric * m_plain);
}

void Bsdf::weighLayers() noexcept {
    if (m_surface.clearcoat > 0.0F) {
        const GgxTables::Shares coat = ggxTables().at(m_wo.z, m_surface.clearcoatRoughness);
        m_belowCoat = 1.0F - m_surface.clearcoat * (coatF0 * coat.plain + coat.grazing);
    }
    const float sheen = largest(m_surface.sheenColor);
    if (sheen > 0.0F)
        m_belowSheen =
            std::max(0.0F, 1.0F - sheen * sheenTable().at(m_wo.z, m_surface.sheenRoughness));
}

// The chance of a lobe is about the light that it returns; any positive chance is right.
void Bsdf::setChances() noexcept {
    const float base = m_belowCoat * m_belowSheen, color = luminance(m_surface.baseColor);
    const float below = belowDielectric(m_out), lost = m_out.lost();
    const float once = luminance(m_f0) * m_out.plain + m_f90 * m_out.grazing;
    const float glass =
        m_glass > 0.0F ? m_surface.dielectric->at(m_wo.z, m_surface.roughness) : 0.0F;
    m_chances[Coat] = 1.0F - m_belowCoat;
    m_chances[Mirror] = base * once;
    m_chances[Diffuse] = base * (m_opaque * below * color + lost * luminance(m_repeated) +
                                 m_glass * (1.0F - glass)) +
                         m_belowCoat * (1.0F - m_belowSheen);
    m_chances[Thin] = base * m_thin * below * color;
    m_thinRepeated = lost < below ? lost / below : 1.0F;
    m_chances[Glass] = base * m_glass * glass;
    float sum = 0.0F;
    for (const float chance : m_chances)
        sum += chance;
    for (float& chance : m_chances)
        chance = sum > 0.0F ? chance / sum : 0.0F;
}

GgxTables::Shares Bsdf::mirrored(const Vec3& w) const noexcept {
    return ggxTables().at(w.z, m_surface.roughness);
}

// Returns the share of light that gets below the mirrors of a dielectric.
float Bsdf::belowDielectric(const GgxTables::Shares& shares) const noexcept {
    return std::max(0.0F, 1.0F - m_dielectricF0 * shares.plain - m_dielectricF90 * shares.grazing -
                              m_repeatedDielectric * shares.lost());
}

float Bsdf::mirrorPdf(const Vec3& wi, float alpha) const noexcept {
    const Vec3 h = normalized(m_wo + wi);
    const float cosine = dot(m_wo, h);
    return cosine > 0.0F ? visibleNormalPdf(m_wo, h, alpha) / (4.0F * cosine) : 0.0F;
}

float Bsdf::coatValue(const Vec3& wi) const noexcept {
    const Vec3 h = normalized(m_wo + wi);
    const float weight = grazingWeight(dot(m_wo, h));
    return (coatF0 + (1.0F - coatF0) * weight) * ggxDensity(h, m_coatAlpha) *
           smithBothVisible(m_wo, wi, m_coatAlpha) / (4.0F * m_wo.z);
}

// The value of the mirrors of the base on the side of `wo`.
Vec3 Bsdf::mirroredBase(const Vec3& wi, const GgxTables::Shares& in) const noexcept {
    const Vec3 h = normalized(m_wo + wi);
    const float weight = grazingWeight(dot(m_wo, h));
    const Vec3 f = m_f0 * (1.0F - weight) + gray(m_f90 * weight);
    Vec3 sum = f * (ggxDensity(h, m_alpha) * smithBothVisible(m_wo, wi, m_alpha) / (4.0F * m_wo.z));
    const float meanLost = 1.0F - m_mean.plain - m_mean.grazing;
    if (meanLost > 1e-6F) sum += m_repeated * (m_out.lost() * in.lost() * wi.z / (pi * meanLost));
    return sum;
}

// The value of the diffuse reflection below the mirrors.
Vec3 Bsdf::scatteredBase(const Vec3& wi, const GgxTables::Shares& in) const noexcept {
    const float meanBelow = 1.0F - m_dielectricF0 * m_mean.plain -
                            m_dielectricF90 * m_mean.grazing -
                            m_repeatedDielectric * (1.0F - m_mean.plain - m_mean.grazing);
    return m_surface.baseColor *
           (m_opaque * belowDielectric(m_out) * belowDielectric(in) * wi.z / (pi * meanBelow));
}

Bsdf::Value Bsdf::glassReflection(const Vec3& wi) const noexcept {
    const Vec3 h = normalized(m_wo + wi);
    const float f = dielectricReflectance(dot(m_wo, h), m_surface.eta);
    const float once =
        f * ggxDensity(h, m_alpha) * smithBothVisible(m_wo, wi, m_alpha) / (4.0F * m_wo.z);
    // Light that meets the surface several times comes out on the side where it came in.
    const AlbedoTable& table = *m_surface.dielectric;
    const float r = m_surface.roughness, meanLost = 1.0F - table.mean(r);
    const float repeated =
        meanLost > 1e-6F
            ? (1.0F - table.at(m_wo.z, r)) * (1.0F - table.at(wi.z, r)) * wi.z / (pi * meanLost)
            : 0.0F;
    const Vec3 color = gray(once + std::max(0.0F, repeated));
    return {color, color, f * mirrorPdf(wi, m_alpha)};
}

Bsdf::Value Bsdf::glassRefraction(const Vec3& wi) const noexcept {
    const float eta = m_surface.eta;
    Vec3 h = normalized(m_wo + wi * eta);
    if (h.z < 0.0F) h = -h;
    const float cosOut = dot(m_wo, h), cosIn = dot(wi, h);
    if (cosOut <= 0.0F || cosIn >= 0.0F) return {};
    const float passed = 1.0F - dielectricReflectance(cosOut, eta);
    const float change = eta * eta * -cosIn / sqr(cosOut + eta * cosIn);
    const float pdf = visibleNormalPdf(m_wo, h, m_alpha) * change * passed;
    return {m_surface.baseColor * (pdf * smithVisible(wi, m_alpha)), {}, pdf};
}

Bsdf::Value Bsdf::reflection(const Vec3& wi) const noexcept {
    const float base = m_belowCoat * m_belowSheen;
    Value value;
    const GgxTables::Shares in = mirrored(wi);
    value.mirrored = mirroredBase(wi, in) * base;
    if (m_glass > 0.0F) {
        const Value glass = glassReflection(wi);
        value.mirrored += glass.color * (base * m_glass);
        value.pdf += m_chances[Glass] * glass.pdf;
    }
    if (m_surface.clearcoat > 0.0F) value.mirrored += gray(m_surface.clearcoat * coatValue(wi));
    value.color = value.mirrored + scatteredBase(wi, in) * base;
    if (largest(m_surface.sheenColor) > 0.0F)
        value.color +=
            m_surface.sheenColor *
            (m_belowCoat * wi.z * sheenValue(m_wo, wi, sheenAlpha(m_surface.sheenRoughness)));
    value.pdf += m_chances[Diffuse] * wi.z / pi;
    if (m_chances[Mirror] > 0.0F) value.pdf += m_chances[Mirror] * mirrorPdf(wi, m_alpha);
    if (m_chances[Coat] > 0.0F) value.pdf += m_chances[Coat] * mirrorPdf(wi, m_coatAlpha);
    return value;
}

// A thin sheet lets light through as it would reflect it to the other side.
Bsdf::Value Bsdf::transmission(const Vec3& wi) const noexcept {
    const float base = m_belowCoat * m_belowSheen;
    Value value;
    if (m_glass > 0.0F) {
        const Value glass = glassRefraction(wi);
        value = {glass.color * (base * m_glass), {}, m_chances[Glass] * glass.pdf};
    }
    if (m_thin == 0.0F) return value;
    const Vec3 opposite{wi.x, wi.y, -wi.z};
    const Vec3 h = normalized(m_wo + opposite);
    const float weight = grazingWeight(dot(m_wo, h));
    const float passed = 1.0F - std::lerp(m_dielectricF0, m_dielectricF90, weight);
    float sum = passed * ggxDensity(h, m_alpha) * smithBothVisible(m_wo, opposite, m_alpha) /
                (4.0F * m_wo.z);
    const float meanLost = 1.0F - m_mean.plain - m_mean.grazing;
    if (meanLost > 1e-6F)
        sum += (1.0F - m_repeatedDielectric) * m_out.lost() * mirrored(opposite).lost() *
               opposite.z / (pi * meanLost);
    value.color += m_surface.baseColor * (base * m_thin * sum);
    value.pdf +=
        m_chances[Thin] * std::lerp(mirrorPdf(opposite, m_alpha), opposite.z / pi, m_thinRepeated);
    return value;
}

Bsdf::Value Bsdf::at(const Vec3& wi) const noexcept {
    if (wi.z > 0.0F) return reflection(wi);
    return wi.z < 0.0F ? transmission(wi) : Value();
}

Vec3 Bsdf::sampleGlass(Random& random) const noexcept {
    const Vec3 h = sampleVisibleNormal(m_wo, m_alpha, random.nextPair());
    const float f = dielectricReflectance(dot(m_wo, h), m_surface.eta);
    const bool isReflected = random.next() < f;
    const Vec3 wi = isReflected ? reflected(m_wo, h) : refracted(m_wo, h, m_surface.eta);
    return (wi.z > 0.0F) == isReflected ? wi : Vec3();
}

Vec3 Bsdf::sampleDirection(Lobe lobe, Random& random) const noexcept {
    if (lobe == Glass) return sampleGlass(random);
    if (lobe == Diffuse) return inCosineHemisphere(random.nextPair());
    const bool isThin = lobe == Thin;
    Vec3 wi;
    if (isThin && random.next() < m_thinRepeated) {
        wi = inCosineHemisphere(random.nextPair());
    } else {
        const float alpha = lobe == Coat ? m_coatAlpha : m_alpha;
        wi = reflected(m_wo, sampleVisibleNormal(m_wo, alpha, random.nextPair()));
    }
    // Mirrors may send light below the surface, where it is lost.
    if (wi.z <= 0.0F) return {};
    return isThin ? Vec3{wi.x, wi.y, -wi.z} : wi;
}

Bsdf::Sample Bsdf::sample(Random& random) const noexcept {
    float u = random.next();
    u32 lobe = 0;
    while (lobe + 1 < lobeCount && u >= m_chances[lobe])
        u -= m_chances[lobe++];
    const Vec3 wi = sampleDirection(static_cast<Lobe>(lobe), random);
    const Value value = at(wi);
    if (!(value.pdf > 0.0F) || !std::isfinite(value.pdf)) return {};
    return {wi, value.color / value.pdf, mirrorShare(value), value.pdf};
}

} // namespace qv::render::impl
