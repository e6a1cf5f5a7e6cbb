#pragma once

#include "render/impl/vec3.h"

#include <array>
#include <stop_token>

namespace qv::render::impl {

/// The share of light that a surface returns, by the cosine of the direction and the roughness.
class AlbedoTable {
public:
    static constexpr u32 size = 32;

    /// Calculates the shares by `albedo(cosine, roughness)`.
    template<class Albedo>
    explicit AlbedoTable(const Albedo& albedo) {
        for (u32 row = 0; row < size; ++row) {
            const float roughness = static_cast<float>(row) / (size - 1);
            for (u32 i = 0; i < size; ++i)
                m_values[row][i] = albedo(cosineAt(i), roughness);
            m_means[row] = mean(m_values[row]);
        }
    }

    [[nodiscard]] float at(float cosine, float roughness) const noexcept {
        return at(spot(cosine, roughness));
    }
    /// Returns the mean over all directions, by their cosine.
    [[nodiscard]] float mean(float roughness) const noexcept {
        const Place row = place(roughness);
        return std::lerp(m_means[row.index], m_means[row.index + 1], row.rest);
    }

    struct Place {
        u32 index = 0;
        float rest = 0.0F;
    };
    /// A place in any table, for look-ups in several.
    struct Spot {
        Place row;
        Place column;
    };
    [[nodiscard]] static Spot spot(float cosine, float roughness) noexcept {
        return {place(roughness), place(std::sqrt(std::max(cosine, 0.0F)))};
    }
    [[nodiscard]] float at(const Spot& spot) const noexcept {
        const Place &row = spot.row, &column = spot.column;
        const auto value = [&](const Row& values) {
            return between(values[column.index], values[column.index + 1], column.rest);
        };
        return between(value(m_values[row.index]), value(m_values[row.index + 1]), row.rest);
    }

private:
    using Row = std::array<float, size>;

    static float between(float a, float b, float t) noexcept { return a + (b - a) * t; }
    // The columns are dense at grazing angles, where the shares change fast.
    static float cosineAt(u32 i) noexcept { return sqr(static_cast<float>(i) / (size - 1)); }
    static Place place(float value) noexcept {
        const float at = std::clamp(value, 0.0F, 1.0F) * (size - 1);
        const u32 index = std::min(static_cast<u32>(at), size - 2);
        return {index, at - static_cast<float>(index)};
    }
    // Integrates exactly what `at` interpolates: with the root s of the cosine, 2 cos d(cos) is
    // 4 s^3 ds.
    static float mean(const Row& values) noexcept {
        double sum = 0.0;
        for (u32 i = 0; i + 1 < size; ++i) {
            const double a = static_cast<double>(i) / (size - 1), b = (i + 1.0) / (size - 1);
            const double whole = pow4(b) - pow4(a);
            const double second = (0.8 * (b * pow4(b) - a * pow4(a)) - a * whole) / (b - a);
            sum += static_cast<double>(values[i]) * (whole - second) +
                   static_cast<double>(values[i + 1]) * second;
        }
        return static_cast<float>(sum);
    }
    static double pow4(double x) noexcept { return x * x * x * x; }

    std::array<Row, size> m_values{};
    Row m_means{};
};

/// The reflection of GGX mirrors with Schlick's reflectance is f0 * `plain` + `grazing`, without
/// light that is reflected more than once.
struct GgxTables {
    AlbedoTable plain;
    AlbedoTable grazing;

    struct Shares {
        float plain = 0.0F;
        float grazing = 0.0F;

        [[nodiscard]] float lost() const noexcept { return std::max(0.0F, 1.0F - plain - grazing); }
    };
    [[nodiscard]] Shares at(float cosine, float roughness) const noexcept {
        const AlbedoTable::Spot spot = AlbedoTable::spot(cosine, roughness);
        return {plain.at(spot), grazing.at(spot)};
    }
    [[nodiscard]] Shares mean(float roughness) const noexcept {
        return {plain.mean(roughness), grazing.mean(roughness)};
    }
};
/// Made by the first call, which a stop ends with `Stopped`.
[[nodiscard]] const GgxTables& ggxTables(const std::stop_token& stop = {});

/// The reflection of cloth of colour 1, see `sheenValue`. Made by the first call, which a stop ends
/// with `Stopped`.
[[nodiscard]] const AlbedoTable& sheenTable(const std::stop_token& stop = {});

/// Returns the reflection and transmission together of a rough surface between two materials,
/// without light that meets it more than once; `eta` as in `dielectricReflectance`. A stop throws
/// `Stopped`.
[[nodiscard]] AlbedoTable makeDielectricTable(float eta, const std::stop_token& stop = {});

} // namespace qv::render::impl
