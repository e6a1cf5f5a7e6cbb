#include "render/impl/triangulation.h"

#include "render/impl/stopped.h"

#include <numeric>

namespace qv::render::impl {

namespace {

/// Cuts one ear of a concave polygon after the other (Meisters, 1975).
class EarCutter {
public:
    EarCutter(std::span<const Vec3> corners, const Vec3& normal, const std::stop_token& stop)
        : m_corners(corners), m_normal(normal), m_stop(stop), m_left(corners.size()) {
        std::iota(m_left.begin(), m_left.end(), 0U);
    }

    void cut(std::vector<Triangle>& triangles) {
        while (m_left.size() > 3) {
            const u64 ear = findEar();
            triangles.push_back(triangleAt(ear));
            m_left.erase(m_left.begin() + static_cast<std::ptrdiff_t>(ear));
        }
        triangles.push_back({m_left[0], m_left[1], m_left[2]});
    }

private:
    [[nodiscard]] Triangle triangleAt(u64 i) const {
        const u64 n = m_left.size();
        return {m_left[(i + n - 1) % n], m_left[i], m_left[(i + 1) % n]};
    }
    [[nodiscard]] float turn(u32 a, u32 b, u32 c) const {
        const Vec3& p = m_corners[b];
        return dot(cross(p - m_corners[a], m_corners[c] - p), m_normal);
    }
    [[nodiscard]] bool isInside(u32 point, const Triangle& t) const {
        return turn(t[0], t[1], point) >= 0.0F && turn(t[1], t[2], point) >= 0.0F &&
               turn(t[2], t[0], point) >= 0.0F;
    }
    [[nodiscard]] bool isEar(const Triangle& t) const {
        if (turn(t[0], t[1], t[2]) <= 0.0F) return false;
        return std::none_of(m_left.begin(), m_left.end(), [&](u32 point) {
            const bool isCorner = point == t[0] || point == t[1] || point == t[2];
            return !isCorner && isInside(point, t);
        });
    }
    // Without an ear, as in a polygon that crosses itself, any corner will do. The search goes on
    // behind the last ear, so that a spiral does not take cubic time.
    [[nodiscard]] u64 findEar() {
        for (u64 i = 0; i < m_left.size(); ++i) {
            endIfStopped(m_stop);
            const u64 at = (m_next + i) % m_left.size();
            if (!isEar(triangleAt(at))) continue;
            m_next = at + 1;
            return at;
        }
        return 1;
    }

    std::span<const Vec3> m_corners;
    Vec3 m_normal;
    const std::stop_token& m_stop;
    std::vector<u32> m_left;
    u64 m_next = 0;
};

bool isConvex(std::span<const Vec3> corners, const Vec3& normal) {
    const u64 n = corners.size();
    for (u64 i = 0; i < n; ++i) {
        const Vec3 &a = corners[i], &b = corners[(i + 1) % n], &c = corners[(i + 2) % n];
        if (dot(cross(b - a, c - b), normal) < 0.0F) return false;
    }
    return true;
}

} // namespace

Vec3 polygonNormal(std::span<const Vec3> corners) noexcept {
    Vec3 sum;
    for (u64 i = 2; i < corners.size(); ++i)
        sum += cross(corners[i - 1] - corners[0], corners[i] - corners[0]);
    return sum;
}

void triangulate(std::span<const Vec3> corners, std::vector<Triangle>& triangles,
                 const std::stop_token& stop) {
    const Vec3 normal = polygonNormal(corners);
    if (corners.size() > 3 && corners.size() <= mostEarCorners && !isConvex(corners, normal))
        return EarCutter(corners, normal, stop).cut(triangles);
    for (u32 i = 2; i < corners.size(); ++i)
        triangles.push_back({0, i - 1, i});
}

} // namespace qv::render::impl
