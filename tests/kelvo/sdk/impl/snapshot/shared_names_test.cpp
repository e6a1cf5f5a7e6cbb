#include "kelvo/sdk/impl/snapshot/shared_names.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

class SharedNamesTest : public testing::Test {
protected:
    ~SharedNamesTest() override { m_names.clear(m_store); }
    [[nodiscard]] u32 find(u64 hash, u32 wanted) const {
        return m_names.find(hash, [=](u32 number) { return number == wanted; });
    }

    SnapshotStore m_store;
    SharedNames m_names;
};

TEST_F(SharedNamesTest, Find_InAnEmptyTable_IsNone) {
    EXPECT_EQ(find(3, 0), SharedNames::none);
}

TEST_F(SharedNamesTest, Find_EqualHashes_AsksForEach) {
    m_names.insert(9, 1, m_store);
    m_names.insert(9, 2, m_store);
    EXPECT_EQ(find(9, 1), 1U);
    EXPECT_EQ(find(9, 2), 2U);
    EXPECT_EQ(find(9, 3), SharedNames::none);
}

TEST_F(SharedNamesTest, Remove_InARowOfCollisions_KeepsTheOthersReachable) {
    for (u32 i = 0; i < 6; ++i)
        m_names.insert(i < 3 ? 15 : 16, i, m_store);
    m_names.remove(15, 0, m_store);
    for (u32 i = 1; i < 6; ++i)
        EXPECT_EQ(find(i < 3 ? 15 : 16, i), i);
    EXPECT_EQ(find(15, 0), SharedNames::none);
}

TEST_F(SharedNamesTest, Fill_ManyWithCollisions_TakesFurtherEdits) {
    std::vector<SharedNames::Entry> entries;
    for (u32 i = 0; i < 1000; ++i)
        entries.push_back(SharedNames::entryOf(i / 3, i));
    m_names.fill(entries, m_store);
    for (u32 i = 0; i < 1000; i += 2)
        m_names.remove(i / 3, i, m_store);
    for (u32 i = 1000; i < 3000; ++i)
        m_names.insert(i / 3, i, m_store);
    for (u32 i = 0; i < 3000; ++i)
        EXPECT_EQ(find(i / 3, i), i < 1000 && i % 2 == 0 ? SharedNames::none : i);
}

TEST_F(SharedNamesTest, Fill_WithNothing_IsEmptyAndGrows) {
    m_names.fill({}, m_store);
    EXPECT_EQ(find(3, 0), SharedNames::none);
    m_names.insert(3, 0, m_store);
    EXPECT_EQ(find(3, 0), 0U);
}

TEST_F(SharedNamesTest, RandomEdits_EveryNumber_IsFoundByItsHash) {
    std::mt19937 random(5);
    std::map<u32, u64> model;
    for (u32 step = 0; step < 4000; ++step) {
        const auto number = static_cast<u32>(random() % 500);
        if (const auto known = model.find(number); known != model.end()) {
            m_names.remove(known->second, number, m_store);
            model.erase(known);
        } else {
            const u64 hash = random() % 700;
            m_names.insert(hash, number, m_store);
            model[number] = hash;
        }
        if (step % 50 != 0) continue;
        for (const auto& [known, hash] : model)
            ASSERT_EQ(find(hash, known), known) << "step " << step;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
