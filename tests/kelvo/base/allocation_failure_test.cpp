// A separate program, because it replaces the allocation functions by ones that fail on command.

#include "kelvo/base/hash_map.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <new>

using namespace qv;

namespace {

// The number of allocations that still succeed; a negative number lets all succeed.
thread_local i64 allowance = -1;
thread_local std::size_t largestRequest = 0;
thread_local i64 live = 0;

void* allocateOrFail(std::size_t size) {
    if (size > largestRequest) largestRequest = size;
    const bool impossible = size > std::numeric_limits<std::ptrdiff_t>::max();
    void* block = impossible || allowance == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    if (allowance > 0) --allowance;
    ++live;
    return block;
}

void freeBlock(void* block) noexcept {
    if (block) --live;
    std::free(block);
}

// Lets `count` allocations succeed during its lifetime.
struct Allow {
    explicit Allow(i64 count) { allowance = count; }
    ~Allow() { allowance = -1; }
    Allow(const Allow&) = delete;
    Allow& operator=(const Allow&) = delete;
};

using Map = ds::HashMap<String, String>;

Map fiftyEntries() {
    Map map;
    for (int i = 0; i < 50; ++i)
        map.set(String::format("key%d", i), "value");
    return map;
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

TEST(VectorOutOfMemory, SizeThatOverflows_AsksForTheLargestBlock) {
    ds::Vector<int*> vector;
    largestRequest = 0;
    EXPECT_THROW(vector.reserve(u64{1} << 62), std::bad_alloc);
    EXPECT_EQ(largestRequest, std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(vector.capacity(), 0u);
}

TEST(VectorOutOfMemory, Growing_ChangesNothing) {
    ds::Vector<String> vector{"a", "b"};
    {
        const Allow none(0);
        EXPECT_THROW(vector.push_back(vector[0]), std::bad_alloc);
    }
    EXPECT_EQ(vector.size(), 2u);
    EXPECT_EQ(vector.capacity(), 2u);
    EXPECT_EQ(vector[0], "a");
    EXPECT_EQ(vector[0].get()->refCount(), 1);
}

// Removing an element leaves a free place in front, which is the only room for inserting it again.
TEST(VectorOutOfMemory, ElementsTakenOut_CanBePutBack) {
    int number = 0;
    for (const u64 place : {u64{0}, u64{31}, u64{32}, u64{63}}) {
        ds::Vector<int*> vector;
        vector.resize(64);
        vector[place] = &number;
        const Allow none(0);
        vector.remove(place);
        EXPECT_NO_THROW(vector.insert(place, &number)) << place;
        EXPECT_EQ(vector.size(), 64u);
        EXPECT_EQ(vector.indexOf(&number), place);
    }
}

TEST(Memory, MapsAndTexts_GiveAllBack) {
    fiftyEntries();
    const u64 cells = ds::EmptyArrays::usage().taken;
    const i64 before = live;
    fiftyEntries();
    EXPECT_EQ(live, before);
    EXPECT_EQ(ds::EmptyArrays::usage().taken, cells);
}

// Returns how many blocks of memory are left of a map with entries in all buckets but those below
// `firstBucket`.
i64 leftOfAFullMap(u64 firstBucket) {
    const i64 before = live;
    {
        Map map;
        for (int i = 0; i < 4000; ++i)
            if (const String key = String::format("key%d", i); key.hash() % 256 >= firstBucket)
                map.set(key, "value");
        for (u64 i = 0; i < 256; ++i)
            EXPECT_EQ(map.bucket(i).empty(), i < firstBucket) << i;
    }
    return live - before;
}

TEST(Memory, MapsWithFullBuckets_GiveAllBack) {
    leftOfAFullMap(0);
    const u64 cells = ds::EmptyArrays::usage().taken;
    EXPECT_EQ(leftOfAFullMap(0), 0);
    EXPECT_EQ(leftOfAFullMap(1), 0);
    EXPECT_EQ(ds::EmptyArrays::usage().taken, cells);
}

TEST(HashMapOutOfMemory, Copying_DestroysWhatWasBuilt) {
    const Map map = fiftyEntries();
    const u64 runs = ds::EmptyArrays::usage().taken;
    const i64 before = live;
    for (i64 allowed = 0; allowed < 20; ++allowed) {
        const Allow some(allowed);
        EXPECT_THROW(Map{map}, std::bad_alloc) << allowed;
    }
    EXPECT_EQ(live, before);
    EXPECT_EQ(ds::EmptyArrays::usage().taken, runs);
    for (const auto& entry : map)
        EXPECT_EQ(entry.key.get()->refCount(), 1);
}

TEST(HashMapOutOfMemory, Assigning_KeepsTheOldEntries) {
    const Map map = fiftyEntries();
    Map target;
    target.set("en", "Lamp");
    {
        const Allow some(5);
        EXPECT_THROW(target = map, std::bad_alloc);
    }
    EXPECT_EQ(target.size(), 1u);
    EXPECT_EQ(target.value("en"), "Lamp");
}

TEST(HashMapOutOfMemory, Inserting_ChangesNothing) {
    Map map;
    const String key("en"), value("Lamp");
    {
        const Allow none(0);
        EXPECT_THROW(map.set(key, value), std::bad_alloc);
    }
    EXPECT_TRUE(map.empty());
    EXPECT_NE(map.bucket(key.hash() % 256).data(), nullptr);
    EXPECT_EQ(key.get()->refCount(), 1);
    EXPECT_EQ(value.get()->refCount(), 1);
    EXPECT_TRUE(map.set(key, value));
}

TEST(HashMapOutOfMemory, NewMapsWithoutMemoryForArrays_LeaveThePoolAsItWas) {
    std::unique_ptr<Map[]> hold;
    const u64 taken = ds::EmptyArrays::usage().taken;
    {
        hold = std::make_unique<Map[]>(10);
        const Allow none(0);
        // The pool serves the runs that it has; then it needs memory, and the allocation fails.
        EXPECT_THROW(
            {
                struct Chain {
                    Map map;
                    void deepen(int left) {
                        Chain next;
                        if (left > 0) next.deepen(left - 1);
                    }
                };
                Chain().deepen(70);
            },
            std::bad_alloc);
    }
    EXPECT_EQ(ds::EmptyArrays::usage().taken, taken + 10);
    hold.reset();
    EXPECT_EQ(ds::EmptyArrays::usage().taken, taken);
}
