#include "render/impl/distribution.h"

namespace qv::render::impl {

Distribution::Distribution(std::span<const float> weights) {
    m_sums.reserve(weights.size());
    for (const float weight : weights)
        m_sums.push_back(m_total += static_cast<double>(weight));
    if (m_total > 0.0) return;
    for (u64 i = 0; i < m_sums.size(); ++i)
        m_sums[i] = static_cast<double>(i + 1);
    m_total = static_cast<double>(m_sums.size());
}

Distribution::Pick Distribution::pick(float u) const noexcept {
    const double target = static_cast<double>(u) * m_total;
    const auto found = std::upper_bound(m_sums.begin(), m_sums.end(), target);
    // Rounding may lead behind the end, where the last weight may be 0.
    const auto at =
        found != m_sums.end() ? found : std::lower_bound(m_sums.begin(), m_sums.end(), m_total);
    const u64 index = static_cast<u64>(at - m_sums.begin());
    const double before = index == 0 ? 0.0 : m_sums[index - 1];
    const double rest = (target - before) / (m_sums[index] - before);
    return {index, chance(index), std::clamp(static_cast<float>(rest), 0.0F, 0x1.fffffep-1F)};
}

float Distribution::chance(u64 index) const noexcept {
    const double before = index == 0 ? 0.0 : m_sums[index - 1];
    return static_cast<float>((m_sums[index] - before) / m_total);
}

Distribution2D::Distribution2D(std::span<const float> weights, u64 width) {
    std::vector<float> rows;
    for (u64 at = 0; at + width <= weights.size(); at += width) {
        const auto row = weights.subspan(at, width);
        double sum = 0.0;
        for (const float weight : row)
            sum += static_cast<double>(weight);
        rows.push_back(static_cast<float>(sum));
        m_columns.emplace_back(row);
    }
    m_rows = Distribution(rows);
}

Distribution2D::Pick Distribution2D::pick(const Vec2& u) const noexcept {
    const Distribution::Pick row = m_rows.pick(u.y);
    const Distribution& columns = m_columns[row.index];
    const Distribution::Pick column = columns.pick(u.x);
    const float width = static_cast<float>(columns.size());
    const float height = static_cast<float>(m_rows.size());
    return {{(static_cast<float>(column.index) + column.rest) / width,
             (static_cast<float>(row.index) + row.rest) / height},
            row.chance * column.chance * width * height};
}

float Distribution2D::density(const Vec2& at) const noexcept {
    const u64 height = m_rows.size(), width = m_columns[0].size();
    const u64 row = std::min(static_cast<u64>(at.y * static_cast<float>(height)), height - 1);
    const u64 column = std::min(static_cast<u64>(at.x * static_cast<float>(width)), width - 1);
    return m_rows.chance(row) * m_columns[row].chance(column) * static_cast<float>(width * height);
}

} // namespace qv::render::impl
