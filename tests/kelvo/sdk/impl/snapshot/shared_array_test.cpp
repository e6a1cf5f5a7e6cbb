#include "kelvo/sdk/impl/snapshot/shared_array.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using Array = SharedArray<u32>;

class SharedArrayTest : public testing::Test {
protected:
    ~SharedArrayTest() override {
        for (auto& entry : m_entries)
            m_store.close(*entry);
        m_array.clear(m_store);
    }
    // A snapshot of the array.
    Array keep() {
        m_entries.push_back(std::make_unique<SnapshotStore::Entry>());
        m_store.open(*m_entries.back());
        return m_array;
    }
    static std::map<u32, u32> differences(const Array& a, const Array& b) {
        std::map<u32, u32> found;
        Array::forEachDifference(a, b, [&](u32 index, u32, u32 after) { found[index] = after; });
        return found;
    }

    SnapshotStore m_store;
    Array m_array;
    std::vector<std::unique_ptr<SnapshotStore::Entry>> m_entries;
};

TEST_F(SharedArrayTest, At_NeverSet_IsZero) {
    EXPECT_EQ(m_array.at(0), 0U);
    m_array.edit(40, m_store) = 3;
    EXPECT_EQ(m_array.at(39), 0U);
    EXPECT_EQ(m_array.at(4000000000), 0U);
}

TEST_F(SharedArrayTest, Edit_FirstAndLastIndex_AreKept) {
    m_array.edit(0, m_store) = 1;
    m_array.edit(0xffffffff, m_store) = 2;
    EXPECT_EQ(m_array.at(0), 1U);
    EXPECT_EQ(m_array.at(0xffffffff), 2U);
}

TEST_F(SharedArrayTest, Edit_AfterACopy_LeavesTheCopyAlone) {
    m_array.edit(7, m_store) = 1;
    const Array copy = keep();
    m_array.edit(7, m_store) = 2;
    m_array.edit(5000, m_store) = 3;
    EXPECT_EQ(copy.at(7), 1U);
    EXPECT_EQ(copy.at(5000), 0U);
    EXPECT_EQ(m_array.at(7), 2U);
}

TEST_F(SharedArrayTest, Differences_OfArraysOfDifferentHeights_AreFound) {
    m_array.edit(1, m_store) = 1;
    const Array low = keep();
    m_array.edit(100000, m_store) = 2;
    m_array.edit(1, m_store) = 3;
    const std::map<u32, u32> there{{1, 3}, {100000, 2}}, back{{1, 1}, {100000, 0}};
    EXPECT_EQ(differences(low, m_array), there);
    EXPECT_EQ(differences(m_array, low), back);
}

// The lengths are those at which blocks and levels are full, and their neighbours.
TEST_F(SharedArrayTest, Fill_AnyLength_IsAsIfSetOneByOne) {
    for (const u32 count : {0U, 1U, 31U, 32U, 33U, 1023U, 1024U, 1025U, 40000U}) {
        std::vector<u32> values(count);
        for (u32 i = 0; i < count; ++i)
            values[i] = i % 100 < 40 ? 0 : i + 7;
        m_array.fill(values, m_store);
        for (u32 i = 0; i < count; ++i)
            ASSERT_EQ(m_array.at(i), values[i]) << i << " of " << count;
        EXPECT_EQ(m_array.at(count), 0U);
        m_array.edit(count, m_store) = 5;
        EXPECT_EQ(m_array.at(count), 5U) << count;
        m_array.clear(m_store);
    }
}

TEST_F(SharedArrayTest, RandomEdits_AllCopies_StayAsTheyWere) {
    std::mt19937 random(7);
    std::map<u32, u32> model;
    std::vector<std::pair<Array, std::map<u32, u32>>> copies;
    for (u32 step = 1; step < 3000; ++step) {
        const auto index = static_cast<u32>(random() % (random() % 8 == 0 ? 200000 : 300));
        m_array.edit(index, m_store) = model[index] = step;
        if (random() % 16 == 0) copies.emplace_back(keep(), model);
    }
    for (const auto& [copy, expected] : copies) {
        std::map<u32, u32> found;
        copy.forEach([&](u32 index, u32 value) { found[index] = value; });
        ASSERT_EQ(found, expected);
    }
    const auto& [first, before] = copies.front();
    const auto& [last, after] = copies.back();
    std::map<u32, u32> expected;
    for (const auto& [index, value] : after)
        if (const auto old = before.find(index); old == before.end() || old->second != value)
            expected[index] = value;
    EXPECT_EQ(differences(first, last), expected);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
