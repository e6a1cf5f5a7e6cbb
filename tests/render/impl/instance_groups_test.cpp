#include "render/impl/instance_groups.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qv::render::impl {
namespace {

Instance at(const Vec3& center, float size) {
    Instance made;
    made.bounds.min = center - gray(size / 2.0F);
    made.bounds.max = center + gray(size / 2.0F);
    return made;
}

// Cubes of the length 0.5 in rows of 100.
std::vector<Instance> field(u32 count) {
    std::vector<Instance> made;
    for (u32 i = 0; i < count; ++i)
        made.push_back(at({static_cast<float>(i % 100), 0, static_cast<float>(i / 100)}, 0.5F));
    return made;
}

TEST(InstanceGroups, FewInstances_AreOneGroup) {
    for (const u32 count : {0U, 1U, 4096U}) {
        const auto groups = groupsOf(field(count));
        ASSERT_EQ(groups.size(), 1U) << count;
        EXPECT_EQ(groups[0].numbers.size(), count);
        EXPECT_TRUE(std::is_sorted(groups[0].numbers.begin(), groups[0].numbers.end()));
    }
}

TEST(InstanceGroups, ManyInstances_AreEachInOneSmallGroup) {
    std::vector<u32> seen;
    std::vector<u64> regions;
    for (const InstanceGroup& group : groupsOf(field(20000))) {
        EXPECT_LE(group.numbers.size(), mostInGroup);
        EXPECT_TRUE(std::is_sorted(group.numbers.begin(), group.numbers.end()));
        seen.insert(seen.end(), group.numbers.begin(), group.numbers.end());
        regions.push_back(group.region);
    }
    std::sort(seen.begin(), seen.end());
    ASSERT_EQ(seen.size(), 20000U);
    for (u32 i = 0; i < seen.size(); ++i)
        ASSERT_EQ(seen[i], i);
    std::sort(regions.begin(), regions.end());
    EXPECT_EQ(std::adjacent_find(regions.begin(), regions.end()), regions.end());
}

TEST(InstanceGroups, MovedInstance_ChangesTwoGroupsAtMost) {
    std::vector<Instance> instances = field(20000);
    const auto before = groupsOf(instances);
    instances[7] = at({90, 0, 90}, 0.5F);
    const auto after = groupsOf(instances);
    ASSERT_EQ(after.size(), before.size());
    u32 different = 0;
    for (u64 i = 0; i < after.size(); ++i) {
        EXPECT_EQ(after[i].region, before[i].region);
        different += after[i].numbers != before[i].numbers ? 1 : 0;
    }
    EXPECT_EQ(different, 2U);
}

TEST(InstanceGroups, LargeInstance_DoesNotSpreadASmallRegion) {
    std::vector<Instance> instances = field(20000);
    instances.push_back(at({3, 0, 3}, 150.0F));
    u32 groupsWithIt = 0;
    for (const InstanceGroup& group : groupsOf(instances)) {
        if (group.numbers.back() != 20000) continue;
        ++groupsWithIt;
        EXPECT_EQ(group.numbers.size(), 1U);
    }
    EXPECT_EQ(groupsWithIt, 1U);
}

TEST(InstanceGroups, InstancesAtOnePlace_AreOneGroup) {
    const std::vector<Instance> instances(10000, at({5, 6, 7}, 0.0F));
    EXPECT_EQ(groupsOf(instances).size(), 1U);
}

} // namespace
} // namespace qv::render::impl
