#include "kelvo/base/hash_map.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace qv;
using Map = ds::HashMap<String, String>;

namespace {

Map numbered(u64 count) {
    Map map;
    for (u64 i = 0; i < count; ++i)
        map.set(String::format("key%llu", static_cast<unsigned long long>(i)), "value");
    return map;
}

// A key that chooses its bucket itself, and a value; both record the order of their destruction.
struct Mark {
    static inline std::vector<std::string> deaths;
    u64 bucket = 0;
    std::string name;

    Mark() = default;
    Mark(u64 b, std::string n) : bucket(b), name(std::move(n)) {}
    Mark(const Mark&) = default;
    Mark(Mark&& other) noexcept : bucket(other.bucket), name(std::move(other.name)) {
        other.name.clear();
    }
    Mark& operator=(const Mark&) = default;
    Mark& operator=(Mark&& other) noexcept {
        bucket = other.bucket;
        name = std::move(other.name);
        other.name.clear();
        return *this;
    }
    ~Mark() {
        if (!name.empty()) deaths.push_back(name);
    }
    u64 hash() const { return bucket; }
    bool operator==(const Mark& other) const { return name == other.name; }
};

} // namespace

TEST(HashMap, Layout_IsExactly256VectorsInline) {
    EXPECT_EQ(sizeof(Map), 256 * sizeof(ds::Vector<Map::Node>));
    EXPECT_EQ(sizeof(Map), 6144u);
    const Map map;
    EXPECT_EQ(static_cast<const void*>(&map.bucket(0)), &map);
    EXPECT_EQ(&map.bucket(255) - &map.bucket(0), 255);
}

TEST(HashMap, Entry_IsHashKeyValue) {
    const Map::Node node{7, "k", "v"};
    const auto offset = [&node](const void* member) {
        return static_cast<const char*>(member) - reinterpret_cast<const char*>(&node);
    };
    EXPECT_EQ(offset(&node.hash), 0);
    EXPECT_EQ(offset(&node.key), 8);
    EXPECT_EQ(offset(&node.value), 24);
    EXPECT_EQ(sizeof node, 40u);
}

TEST(HashMap, Default_Has256EmptyBucketsEachWithItsOwnStorage) {
    const Map map;
    std::set<const void*> arrays;
    for (u64 i = 0; i < 256; ++i) {
        EXPECT_NE(map.bucket(i).data(), nullptr);
        EXPECT_EQ(map.bucket(i).size(), 0u);
        EXPECT_EQ(map.bucket(i).capacity(), 0u);
        arrays.insert(map.bucket(i).data());
    }
    EXPECT_EQ(arrays.size(), 256u);
}

TEST(HashMap, EmptyArrays_HaveACountOfZeroInFront) {
    const Map map;
    for (u64 i = 0; i < 256; ++i)
        EXPECT_EQ(reinterpret_cast<const u64*>(map.bucket(i).data())[-1], 0u) << i;
}

TEST(HashMap, TwoMaps_ShareNoStorage) {
    const Map a, b;
    std::set<const void*> arrays;
    for (u64 i = 0; i < 256; ++i) {
        arrays.insert(a.bucket(i).data());
        arrays.insert(b.bucket(i).data());
    }
    EXPECT_EQ(arrays.size(), 512u);
}

TEST(HashMap, Set_PutsTheEntryIntoTheBucketOfItsHash) {
    Map map;
    const String key("de");
    EXPECT_TRUE(map.set(key, "Lampe"));
    const Map::Bucket& bucket = map.bucket(key.hash() % 256);
    ASSERT_EQ(bucket.size(), 1u);
    EXPECT_EQ(bucket[0].hash, key.hash());
    EXPECT_EQ(bucket[0].key, key);
    EXPECT_EQ(bucket[0].value, "Lampe");
    EXPECT_EQ(bucket.capacity(), 2u);
}

TEST(HashMap, Set_OfAKnownKey_ReplacesTheValue) {
    Map map;
    map.set("en", "Lamp");
    EXPECT_FALSE(map.set("en", "Light"));
    EXPECT_EQ(map.size(), 1u);
    EXPECT_EQ(map.value("en"), "Light");
}

TEST(HashMap, Find_AnswersTheValueOrNull) {
    Map map;
    map.set("en", "Lamp");
    ASSERT_NE(map.find("en"), nullptr);
    EXPECT_EQ(*map.find("en"), "Lamp");
    EXPECT_EQ(map.find("EN"), nullptr);
    EXPECT_TRUE(map.contains("en"));
    EXPECT_FALSE(map.contains("fr"));
    *map.find("en") = "Light";
    EXPECT_EQ(std::as_const(map).value("en"), "Light");
}

TEST(HashMap, Value_WhenAbsent_IsTheFallback) {
    const Map map;
    EXPECT_EQ(map.value("en"), "");
    EXPECT_EQ(map.value("en", "none"), "none");
}

TEST(HashMap, EmptyKey_IsAKey) {
    Map map;
    map.insert("", "x");
    EXPECT_EQ(map.value(""), "x");
}

TEST(HashMap, ThousandEntries_AreAllFound) {
    Map map;
    for (u64 i = 0; i < 1000; ++i)
        map.set(String::format("k%u", static_cast<unsigned>(i)),
                String::format("%u", static_cast<unsigned>(i)));
    EXPECT_EQ(map.size(), 1000u);
    for (u64 i = 0; i < 1000; ++i)
        EXPECT_EQ(map.value(String::format("k%u", static_cast<unsigned>(i))),
                  String::format("%u", static_cast<unsigned>(i)));
}

TEST(HashMap, Remove_TakesOneEntry) {
    Map map = numbered(600);
    EXPECT_TRUE(map.remove("key7"));
    EXPECT_FALSE(map.remove("key7"));
    EXPECT_EQ(map.size(), 599u);
    EXPECT_FALSE(map.contains("key7"));
    EXPECT_TRUE(map.contains("key8"));
}

TEST(HashMap, Remove_OfTheLastEntry_LeavesAUsableBucket) {
    Map map;
    map.set("en", "a");
    map.remove("en");
    EXPECT_TRUE(map.empty());
    map.set("en", "b");
    EXPECT_EQ(map.value("en"), "b");
}

TEST(HashMap, Clear_RemovesAll) {
    Map map = numbered(300);
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.begin(), map.end());
    map.set("en", "a");
    EXPECT_EQ(map.size(), 1u);
}

TEST(HashMap, Copy_SharesEveryText) {
    const String key("de"), value("Lampe");
    Map map;
    map.set(key, value);
    const Map copy(map);
    EXPECT_EQ(key.get()->refCount(), 3);
    EXPECT_EQ(value.get()->refCount(), 3);
    EXPECT_EQ(copy.find("de")->buf(), value.buf());
}

TEST(HashMap, CopyOfABucket_HasExactCapacityAndTheHashes) {
    ds::HashMap<Mark, int> map;
    for (const char* name : {"a", "b", "c"})
        map.set(Mark(7, name), 1);
    ASSERT_EQ(map.bucket(7).capacity(), 4u);
    const ds::HashMap<Mark, int> copy(map);
    EXPECT_EQ(copy.bucket(7).size(), 3u);
    EXPECT_EQ(copy.bucket(7).capacity(), 3u);
    EXPECT_EQ(copy.bucket(7)[2].hash, 7u);
    EXPECT_EQ(copy.bucket(7)[2].key.name, "c");
}

TEST(HashMap, Copy_HasStorageInEveryBucket) {
    const Map map = numbered(40);
    const Map copy(map);
    for (u64 i = 0; i < 256; ++i) {
        EXPECT_NE(copy.bucket(i).data(), nullptr);
        EXPECT_NE(copy.bucket(i).data(), map.bucket(i).data());
        EXPECT_EQ(copy.bucket(i).capacity(), map.bucket(i).size());
    }
}

TEST(HashMap, CopyOfAnEmptyBucketByItself_HasStorage) {
    const Map map;
    const Map::Bucket bucket(map.bucket(0));
    EXPECT_NE(bucket.data(), nullptr);
    EXPECT_EQ(bucket.size(), 0u);
    EXPECT_EQ(bucket.capacity(), 0u);
}

TEST(HashMap, CopyOfAnEmptyBucketByItself_CanBeAppendedTo) {
    const Map map;
    Map::Bucket bucket(map.bucket(0));
    bucket.push_back({1, "k", "v"});
    EXPECT_EQ(bucket.capacity(), 2u);
    EXPECT_EQ(bucket[0].key, "k");
}

TEST(HashMap, CopyOfAClearedMap_HasCapacityZeroAgain) {
    Map map = numbered(10);
    map.clear();
    const Map copy(map);
    for (u64 i = 0; i < 256; ++i)
        EXPECT_EQ(copy.bucket(i).capacity(), 0u);
}

TEST(HashMap, Assignment_ReplacesTheEntries) {
    Map map = numbered(5);
    const Map other = numbered(3);
    map = other;
    EXPECT_EQ(map, other);
    map = numbered(2);
    EXPECT_EQ(map.size(), 2u);
    auto& same = map;
    map = same;
    map = std::move(same);
    EXPECT_EQ(map.size(), 2u);
}

TEST(HashMap, Move_LeavesAWholeEmptyMap) {
    Map map = numbered(5);
    Map moved(std::move(map));
    EXPECT_EQ(moved.size(), 5u);
    EXPECT_TRUE(map.empty()); // NOLINT(bugprone-use-after-move): empty by contract
    for (u64 i = 0; i < 256; ++i)
        EXPECT_NE(map.bucket(i).data(), nullptr);
    map.set("en", "x");
    EXPECT_EQ(map.size(), 1u);
}

TEST(HashMap, MoveAssignment_LeavesAnEmptyMap) {
    Map map = numbered(5);
    Map target = numbered(300);
    target = std::move(map);
    EXPECT_EQ(target.size(), 5u);
    EXPECT_TRUE(map.empty()); // NOLINT(bugprone-use-after-move): empty by contract
}

TEST(HashMap, Destruction_GoesFromTheLastBucketAndEntryValueBeforeKey) {
    {
        ds::HashMap<Mark, Mark> map;
        map.set(Mark(3, "k3"), Mark(0, "v3"));
        map.set(Mark(200, "k200"), Mark(0, "v200"));
        map.set(Mark(3 + 256, "k3b"), Mark(0, "v3b"));
        Mark::deaths.clear();
    }
    EXPECT_EQ(Mark::deaths, (std::vector<std::string>{"v200", "k200", "v3b", "k3b", "v3", "k3"}));
}

TEST(HashMap, Destruction_ReleasesEveryText) {
    const String value("held");
    {
        Map map;
        for (int i = 0; i < 700; ++i)
            map.set(String::format("%d", i), value);
        EXPECT_EQ(value.get()->refCount(), 701);
    }
    EXPECT_EQ(value.get()->refCount(), 1);
}

TEST(HashMap, Iteration_VisitsEntriesInBucketOrder) {
    ds::HashMap<Mark, int> map;
    map.set(Mark(9, "c"), 3);
    map.set(Mark(0, "a"), 1);
    map.set(Mark(9, "d"), 4);
    map.set(Mark(255, "e"), 5);
    map.set(Mark(1, "b"), 2);
    std::vector<int> seen;
    for (const auto& entry : map)
        seen.push_back(entry.value);
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 4, 5}));
    seen.clear();
    map.forEach([&](const Mark&, int value) { seen.push_back(value); });
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(HashMap, Equality_IgnoresOrderOfInsertion) {
    Map a, b;
    a.set("x", "1");
    a.set("y", "2");
    b.set("y", "2");
    b.set("x", "1");
    EXPECT_EQ(a, b);
    b.set("x", "3");
    EXPECT_NE(a, b);
    b.remove("x");
    EXPECT_NE(a, b);
    EXPECT_NE(b, a);
    b.set("z", "1");
    EXPECT_NE(a, b);
}

TEST(HashMap, Entry_IsFoundByTheHashOfItsKeyAlone) {
    EXPECT_EQ(keyHash(String("radius")), String("radius").hash());
    EXPECT_EQ(keyHash(7), std::hash<int>{}(7));
}

TEST(HashMap, EntriesOfOneHash_AreDistinguishedByKey) {
    ds::HashMap<Mark, int> map;
    map.set(Mark(4, "a"), 1);
    map.set(Mark(4, "b"), 2);
    EXPECT_EQ(*map.find(Mark(4, "b")), 2);
    EXPECT_TRUE(map.remove(Mark(4, "a")));
    EXPECT_EQ(map.find(Mark(4, "a")), nullptr);
    EXPECT_EQ(*map.find(Mark(4, "b")), 2);
}

TEST(HashMap, Entry_ByDefault_HasHash0) {
    EXPECT_EQ(Map::Node().hash, 0u);
}

TEST(HashMap, Copy_TakesTheFirstAndTheLastBucketToo) {
    ds::HashMap<Mark, int> map;
    map.set({0, "first"}, 1);
    map.set({255, "last"}, 2);
    const ds::HashMap<Mark, int> copy(map);
    EXPECT_EQ(copy.bucket(0).size(), 1u);
    EXPECT_EQ(copy.bucket(255).size(), 1u);
}

TEST(HashMap, Emptiness_HasTwoNames) {
    Map map;
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(map.isEmpty());
    map.set("a", "1");
    EXPECT_FALSE(map.empty());
    EXPECT_FALSE(map.isEmpty());
}

TEST(HashMap, Iterator_GoesOnAfterItWasRead) {
    const Map map = numbered(3);
    auto next = map.begin();
    const auto first = next++;
    EXPECT_EQ(first, map.begin());
    EXPECT_NE(next, first);
    EXPECT_EQ(first->key, (*first).key);
    EXPECT_EQ(std::distance(next, map.end()), 2);
}
