#pragma once

#include "render/impl/vec3.h"

#include <span>
#include <vector>

namespace qv::render::impl {

/// Picks numbers in proportion to weights.
class Distribution {
public:
    struct Pick {
        u64 index = 0;
        /// The chance of the index.
        float chance = 0.0F;
        /// Where the random number was within the range of the index: a new one from 0 to 1.
        float rest = 0.0F;
    };

    Distribution() = default;
    /// Weights are finite and not negative; if all are 0 they count as equal.
    explicit Distribution(std::span<const float> weights);

    [[nodiscard]] bool isEmpty() const noexcept { return m_sums.empty(); }
    [[nodiscard]] u64 size() const noexcept { return m_sums.size(); }
    [[nodiscard]] double total() const noexcept { return m_total; }
    [[nodiscard]] Pick pick(float u) const noexcept;
    [[nodiscard]] float chance(u64 index) const noexcept;

private:
    // The sum of the weights up to and with each.
    std::vector<double> m_sums;
    double m_total = 0.0;
};

/// Picks points of a picture in proportion to the weights of its pixels.
class Distribution2D {
public:
    struct Pick {
        /// From 0 to 1, from the left and from the top.
        Vec2 at;
        /// With respect to the area of the picture, which is 1.
        float density = 0.0F;
    };

    Distribution2D() = default;
    Distribution2D(std::span<const float> weights, u64 width);

    [[nodiscard]] Pick pick(const Vec2& u) const noexcept;
    [[nodiscard]] float density(const Vec2& at) const noexcept;

private:
    Distribution m_rows;
    std::vector<Distribution> m_columns;
};

} // namespace qv::render::impl
