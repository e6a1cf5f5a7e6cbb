#include "kelvo/sdk/impl/snapshot/shared_order.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

std::vector<u32> numbersOf(const SharedOrder& order) {
    std::vector<u32> numbers;
    order.forEach([&](u32 number) { numbers.push_back(number); });
    return numbers;
}

class SharedOrderTest : public testing::Test {
protected:
    ~SharedOrderTest() override {
        for (auto& entry : m_entries)
            m_store.close(*entry);
        m_order.clear(m_store);
    }
    SharedOrder keep() {
        m_entries.push_back(std::make_unique<SnapshotStore::Entry>());
        m_store.open(*m_entries.back());
        return m_order;
    }
    void add(u32 count) {
        for (u32 i = 0; i < count; ++i)
            m_order.insert(m_order.size(), i, m_store);
    }

    SnapshotStore m_store;
    SharedOrder m_order;
    std::vector<std::unique_ptr<SnapshotStore::Entry>> m_entries;
};

TEST_F(SharedOrderTest, Insert_AtTheEnd_KeepsTheOrder) {
    add(5000);
    ASSERT_EQ(m_order.size(), 5000U);
    for (u32 i = 0; i < 5000; ++i)
        ASSERT_EQ(m_order.at(i), i);
}

TEST_F(SharedOrderTest, Insert_AlwaysInFront_ReversesTheOrder) {
    for (u32 i = 0; i < 3000; ++i)
        m_order.insert(0, i, m_store);
    for (u32 i = 0; i < 3000; ++i)
        ASSERT_EQ(m_order.at(i), 2999 - i);
}

// The lengths are those at which blocks and levels are full, and their neighbours.
TEST_F(SharedOrderTest, Fill_AnyLength_TakesInsertionsAnywhere) {
    for (const u32 count : {0U, 1U, 32U, 33U, 1024U, 1025U, 33000U}) {
        std::vector<u32> model(count);
        for (u32 i = 0; i < count; ++i)
            model[i] = 3 * i;
        m_order.fill(model, m_store);
        ASSERT_EQ(numbersOf(m_order), model);
        for (const u64 index : {u64{0}, u64{count / 2}, u64{count}}) {
            m_order.insert(index, 1, m_store);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(index), 1);
        }
        ASSERT_EQ(m_order.size(), model.size());
        for (u64 i = 0; i < model.size(); ++i)
            ASSERT_EQ(m_order.at(i), model[i]) << i << " of " << count;
        m_order.clear(m_store);
    }
}

TEST_F(SharedOrderTest, Remove_All_LeavesAnEmptyOrderThatGrowsAgain) {
    add(2000);
    while (m_order.size() != 0)
        m_order.remove(m_order.size() / 2, m_store);
    EXPECT_TRUE(numbersOf(m_order).empty());
    add(3);
    EXPECT_EQ(numbersOf(m_order), (std::vector<u32>{0, 1, 2}));
}

// Removes all numbers but one of each leaf, and fills one leaf after the other.
TEST_F(SharedOrderTest, ThinnedAndFilledRepeatedly_StaysRight) {
    std::vector<u32> model;
    const auto insert = [&](u64 index, u32 number) {
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(index), number);
        m_order.insert(index, number, m_store);
    };
    for (u32 round = 0; round < 40; ++round) {
        for (u32 i = 0; i < 3000; ++i)
            insert(model.size() / 2, i);
        for (u64 index = 0; index < model.size(); ++index)
            for (u32 k = 0; k < 15 && index + 1 < model.size(); ++k) {
                model.erase(model.begin() + static_cast<std::ptrdiff_t>(index));
                m_order.remove(index, m_store);
            }
    }
    EXPECT_EQ(numbersOf(m_order), model);
}

TEST_F(SharedOrderTest, RandomEdits_AllCopies_StayAsTheyWere) {
    std::mt19937 random(11);
    std::vector<u32> model;
    std::vector<std::pair<SharedOrder, std::vector<u32>>> copies;
    for (u32 step = 0; step < 6000; ++step) {
        const bool grows = step % 2000 < 1200;
        if (model.empty() || random() % 10 < (grows ? 8U : 2U)) {
            const u64 index = random() % 4 == 0 ? model.size() : random() % (model.size() + 1);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(index), step);
            m_order.insert(index, step, m_store);
        } else {
            const u64 index = random() % model.size();
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(index));
            m_order.remove(index, m_store);
        }
        if (random() % 64 == 0) copies.emplace_back(keep(), model);
    }
    copies.emplace_back(keep(), model);
    for (const auto& [copy, expected] : copies) {
        ASSERT_EQ(numbersOf(copy), expected);
        for (u64 i = 0; i < expected.size(); ++i)
            ASSERT_EQ(copy.at(i), expected[i]);
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
