#include "render/impl/instance_groups.h"

#include <numeric>

namespace qv::render::impl {

namespace {

constexpr u32 mostCuts = 20;

struct Cube {
    Vec3 center;
    /// Half the length of an edge.
    float half = 0.0F;
    u64 region = 1;
    u32 cuts = 0;

    [[nodiscard]] u32 eighthOf(const Vec3& p) const noexcept {
        return (p.x >= center.x ? 1U : 0U) | (p.y >= center.y ? 2U : 0U) |
               (p.z >= center.z ? 4U : 0U);
    }
    [[nodiscard]] Cube eighth(u32 i) const noexcept {
        const float step = half / 2.0F;
        const Vec3 offset{(i & 1) != 0 ? step : -step, (i & 2) != 0 ? step : -step,
                          (i & 4) != 0 ? step : -step};
        return {center + offset, step, region * 8 + i, cuts + 1};
    }
};

class Splitter {
public:
    explicit Splitter(const std::vector<Instance>& instances) : m_instances(instances) {}

    void split(const Cube& cube, std::vector<u32>&& numbers) {
        if (numbers.size() <= mostInGroup || cube.cuts == mostCuts)
            return add(cube.region * 2, std::move(numbers));
        std::vector<u32> large, eighths[8];
        for (const u32 number : numbers) {
            const Box& box = m_instances[number].bounds;
            const bool isLarge = largest(box.max - box.min) > cube.half;
            (isLarge ? large : eighths[cube.eighthOf(box.center())]).push_back(number);
        }
        std::vector<u32>().swap(numbers);
        if (!large.empty()) add(cube.region * 2 + 1, std::move(large));
        for (u32 i = 0; i < 8; ++i)
            if (!eighths[i].empty()) split(cube.eighth(i), std::move(eighths[i]));
    }

    [[nodiscard]] std::vector<InstanceGroup> groups() && { return std::move(m_groups); }

private:
    void add(u64 region, std::vector<u32>&& numbers) {
        m_groups.push_back({region, std::move(numbers)});
    }

    const std::vector<Instance>& m_instances;
    std::vector<InstanceGroup> m_groups;
};

// Returns a power of two that is not below any coordinate.
float reachOf(const std::vector<Instance>& instances) noexcept {
    float most = 1e-30F;
    for (const Instance& instance : instances)
        for (const Vec3& p : {instance.bounds.min, instance.bounds.max})
            most = std::max({most, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
    int exponent = 0;
    (void)std::frexp(most, &exponent);
    return std::ldexp(1.0F, exponent);
}

} // namespace

std::vector<InstanceGroup> groupsOf(const std::vector<Instance>& instances) {
    std::vector<u32> all(instances.size());
    std::iota(all.begin(), all.end(), 0U);
    Cube whole;
    whole.half = reachOf(instances);
    Splitter splitter(instances);
    splitter.split(whole, std::move(all));
    return std::move(splitter).groups();
}

} // namespace qv::render::impl
