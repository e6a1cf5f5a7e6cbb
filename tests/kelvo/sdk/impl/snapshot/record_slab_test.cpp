#include "kelvo/sdk/impl/snapshot/record_slab.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

bool isAligned(const std::byte* place) {
    return reinterpret_cast<std::uintptr_t>(place) % sizeof(u64) == 0;
}

TEST(RecordSlab, ExpectedRecordsOfOneSize_FollowEachOther) {
    RecordSlab slab(100);
    const std::byte* const first = slab.take(24);
    for (u64 i = 1; i < 100; ++i)
        EXPECT_EQ(slab.take(24), first + i * 24);
}

TEST(RecordSlab, RecordsOfAnySizeAndNumber_HaveMemoryOfTheirOwn) {
    RecordSlab slab(4);
    std::vector<std::pair<std::byte*, u64>> taken;
    for (const u64 size : std::initializer_list<u64>{8, 1, 1000, 200000, 16, 0, 70000, 24, 24}) {
        std::byte* const place = slab.take(size);
        EXPECT_TRUE(isAligned(place)) << size;
        std::memset(place, static_cast<int>(taken.size()), size);
        taken.push_back({place, size});
    }
    for (u64 i = 0; i < taken.size(); ++i)
        for (u64 at = 0; at < taken[i].second; ++at)
            ASSERT_EQ(taken[i].first[at], static_cast<std::byte>(i));
}

TEST(RecordSlab, ReusedMemory_IsGivenAgainAndGrowsWhereItIsTooSmall) {
    RecordSlab slab(2);
    const std::byte* const first = slab.take(64);
    const std::byte* const second = slab.take(64);
    slab.reuse(3);
    EXPECT_EQ(slab.take(64), first);
    EXPECT_EQ(slab.take(64), second);
    slab.reuse(1);
    std::byte* const large = slab.take(100000);
    EXPECT_NE(large, first);
    std::memset(large, 1, 100000);
    EXPECT_EQ(slab.take(128), first) << "the smaller block follows";
}

} // namespace
} // namespace qv::kelvo_sdk::impl
