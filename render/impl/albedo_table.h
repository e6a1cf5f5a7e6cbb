#pragma once

#include "render/impl/vec3.h"

#include <array>

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
        const Place row = place(roughness), column = place(std::sqrt(std::max(cosine, 0.0F)));
        const auto value = [&](const Row& values) {
            return std::lerp(values[column.index], values[column.index + 1], column.rest);
        };
        return std::lerp(value(m_values[row.index]), value(m_values[row.index + 1]), row.rest);
    }
    /// Returns the mean over all directions, by their cosine.
    [[nodiscard]] float mean(float roughness) const noexcept {
        const Place row = place(roughness);
        return std::lerp(m_means[row.index], m_means[row.index + 1], row.rest);
    }

private:
    using Row = std::array<float, size>;
    struct Place {
        u32 index = 0;
        float rest = 0.0F;
    };

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
};
/// Made by the first call.
[[nodiscard]] const GgxTables& ggxTables();

/// The reflection of cloth of colour 1, see `sheenValue`. Made by the first call.
[[nodiscard]] const AlbedoTable& sheenTable();

/// Returns the reflection and transmission together of a rough surface between two materials,
/// without light that meets it more than once; `eta` as in `dielectricReflectance`.
[[nodiscard]] AlbedoTable makeDielectricTable(float eta);

} // namespace qv::render::impl
