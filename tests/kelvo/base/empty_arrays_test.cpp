#include "kelvo/base/empty_arrays.h"

#include "kelvo/base/hash_map.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <thread>
#include <vector>

using namespace qv;
using ds::EmptyArrays;

namespace {

// A key whose hash is its bucket, so that a test can fill every bucket.
struct BucketKey {
    u64 bucket = 0;
    u64 hash() const { return bucket; }
    bool operator==(const BucketKey&) const = default;
};
using Map = ds::HashMap<BucketKey, int>;

void fillAllBuckets(Map& map) {
    for (u64 i = 0; i < Map::bucketCount; ++i)
        map.set({i}, 1);
}

u64 taken() {
    return EmptyArrays::usage().taken;
}

std::vector<u64> releasedCells(const EmptyArrays& run) {
    std::vector<u64> cells;
    run.forEachReleased([&](u64 i) { cells.push_back(i); });
    return cells;
}

} // namespace

TEST(EmptyArrays, Run_IsFoundFromEachCell) {
    EmptyArrays* run = EmptyArrays::take();
    for (u64 i = 0; i < EmptyArrays::cellCount; ++i) {
        EXPECT_EQ(EmptyArrays::of(run->array(i), i), run);
    }
    run->releaseAll();
}

TEST(EmptyArrays, Run_GoesBackWithItsLastCell) {
    const u64 before = taken();
    EmptyArrays* run = EmptyArrays::take();
    EXPECT_EQ(run->live(), EmptyArrays::cellCount);
    for (u64 i = 1; i < EmptyArrays::cellCount; ++i)
        run->release(i);
    EXPECT_EQ(run->live(), 1u);
    EXPECT_EQ(taken(), before + 1);
    run->release(0);
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, Run_GoesBackWithAllItsCells) {
    const u64 before = taken();
    EmptyArrays* run = EmptyArrays::take();
    run->release(3);
    run->releaseAll();
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, ReleasedCells_AreVisitedInEitherOrder) {
    EmptyArrays* run = EmptyArrays::take();
    EXPECT_TRUE(releasedCells(*run).empty());
    for (const u64 i : std::initializer_list<u64>{64, 255, 3, 0, 63, 200})
        run->release(i);
    const std::vector<u64> expected{0, 3, 63, 64, 200, 255};
    EXPECT_EQ(releasedCells(*run), expected);
    std::vector<u64> reversed;
    run->forEachReleasedReversed([&](u64 i) { reversed.push_back(i); });
    EXPECT_EQ(reversed, std::vector<u64>(expected.rbegin(), expected.rend()));
    run->releaseAll();
}

TEST(EmptyArrays, RunTakenAgain_HasNoReleasedCells) {
    EmptyArrays* run = EmptyArrays::take();
    run->release(7);
    run->release(130);
    run->releaseAll();
    EmptyArrays* again = EmptyArrays::take();
    ASSERT_EQ(again, run);
    EXPECT_TRUE(releasedCells(*again).empty());
    EXPECT_EQ(again->live(), EmptyArrays::cellCount);
    again->releaseAll();
}

TEST(EmptyArrays, RunGivenBack_IsTakenAgain) {
    EmptyArrays* run = EmptyArrays::take();
    run->releaseAll();
    const u64 total = EmptyArrays::usage().total;
    EmptyArrays* again = EmptyArrays::take();
    EXPECT_EQ(again, run);
    EXPECT_EQ(EmptyArrays::usage().total, total);
    again->releaseAll();
}

TEST(EmptyArrays, Usage_CountsRunsTakenAndEverGot) {
    const EmptyArrays::Usage before = EmptyArrays::usage();
    std::vector<EmptyArrays*> runs;
    for (u64 i = before.taken; i < before.total + 3; ++i)
        runs.push_back(EmptyArrays::take());
    EXPECT_EQ(EmptyArrays::usage().taken, before.total + 3);
    EXPECT_EQ(EmptyArrays::usage().total, before.total + 3);
    for (EmptyArrays* run : runs)
        run->releaseAll();
    EXPECT_EQ(EmptyArrays::usage().taken, before.taken);
    EXPECT_EQ(EmptyArrays::usage().total, before.total + 3);
}

TEST(EmptyArrays, EachArray_HasItsCount0InFront) {
    EmptyArrays* run = EmptyArrays::take();
    for (u64 i = 0; i < EmptyArrays::cellCount; ++i)
        EXPECT_EQ(static_cast<const u64*>(run->array(i))[-1], 0u);
    run->releaseAll();
}

TEST(EmptyArrays, Cells_KeepTheirCountWhileMapsComeAndGo) {
    EmptyArrays* run = EmptyArrays::take();
    run->releaseAll();
    {
        Map map;
        ASSERT_EQ(static_cast<const void*>(map.bucket(0).data()), run->array(0));
        for (u64 i = 0; i < Map::bucketCount; i += 3)
            map.set({i}, 1);
    }
    EmptyArrays* again = EmptyArrays::take();
    ASSERT_EQ(again, run);
    for (u64 i = 0; i < EmptyArrays::cellCount; ++i)
        EXPECT_EQ(static_cast<const u64*>(again->array(i))[-1], 0u) << i;
    again->releaseAll();
}

TEST(EmptyArrays, EachMap_HoldsOneRun) {
    const u64 before = taken();
    {
        const Map a, b;
        EXPECT_EQ(taken(), before + 2);
        const Map copy(a);
        EXPECT_EQ(taken(), before + 3);
    }
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, MapWithAllBucketsFilled_HoldsNone) {
    const u64 before = taken();
    Map map;
    fillAllBuckets(map);
    EXPECT_EQ(taken(), before);
    const Map copy(map);
    EXPECT_EQ(taken(), before);
    map.clear();
    const Map empty(map);
    EXPECT_EQ(taken(), before + 1);
}

TEST(EmptyArrays, MapWithItsFirstBucketFilled_GivesItsRunBack) {
    const u64 before = taken();
    {
        Map map;
        map.set({0}, 1);
        EXPECT_EQ(taken(), before + 1);
    }
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, MapsThatSwap_GiveEachTheirRunBack) {
    const u64 before = taken();
    auto a = std::make_unique<Map>();
    auto b = std::make_unique<Map>();
    a->set({5}, 1);
    a->swap(*b);
    a.reset();
    EXPECT_EQ(taken(), before + 1);
    EXPECT_EQ(*b->find({5}), 1);
    b.reset();
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, ManyMaps_TakeNoMoreThanLiveAtOnce) {
    for (int round = 0; round < 2; ++round) {
        const u64 before = EmptyArrays::usage().total;
        std::vector<std::unique_ptr<Map>> maps;
        for (int i = 0; i < 200; ++i)
            maps.push_back(std::make_unique<Map>());
        EXPECT_LE(EmptyArrays::usage().total, before + 200);
        if (round == 1) {
            EXPECT_EQ(EmptyArrays::usage().total, before);
        }
    }
}

TEST(EmptyArrays, MapsOnSeveralThreads_KeepThePoolWhole) {
    const u64 before = taken();
    std::vector<std::thread> threads;
    for (u64 t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (u64 i = 0; i < 300; ++i) {
                Map map;
                map.set({t * 7 + i}, 1);
                const Map copy(map);
                ASSERT_EQ(copy.size(), 1u);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(taken(), before);
}

TEST(EmptyArrays, MapHandedToAnotherThread_DiesThere) {
    const u64 before = taken();
    auto map = std::make_unique<Map>();
    map->set({1}, 1);
    std::thread([&map] { map.reset(); }).join();
    EXPECT_EQ(taken(), before);
}
