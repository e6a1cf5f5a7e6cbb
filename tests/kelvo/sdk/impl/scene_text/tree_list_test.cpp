#include "kelvo/sdk/impl/scene_text/tree_list.h"

#include <gtest/gtest.h>

#include <memory>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr u64 many = 3 * TreeList<u64>::chunkSize + 5;

TreeList<u64> listOf(u64 count) {
    TreeList<u64> list;
    for (u64 i = 0; i < count; ++i)
        list.emplace_back() = i;
    return list;
}

TEST(TreeList, Elements_StandInTheirOrder) {
    const TreeList<u64> list = listOf(many);
    ASSERT_EQ(list.size(), many);
    for (u64 i = 0; i < many; ++i)
        ASSERT_EQ(list[i], i);
}

TEST(TreeList, Size_IsRightAroundTheEndOfAChunk) {
    constexpr u64 chunk = TreeList<u64>::chunkSize;
    for (const u64 count : {u64{0}, u64{1}, chunk - 1, chunk, chunk + 1, 2 * chunk})
        EXPECT_EQ(listOf(count).size(), count);
}

TEST(TreeList, Clear_StartsAnew) {
    TreeList<u64> list = listOf(many);
    list.clear();
    EXPECT_EQ(list.size(), 0u);
    EXPECT_EQ(list.emplace_back(), 0u);
    EXPECT_EQ(list.size(), 1u);
}

TEST(TreeList, Clear_OfAnEmptyListDoesNothing) {
    TreeList<u64> list;
    list.clear();
    EXPECT_EQ(list.size(), 0u);
}

TEST(TreeList, Elements_OfLaterChunksKeepTheirAddress) {
    TreeList<u64> list = listOf(TreeList<u64>::chunkSize + 1);
    const u64* const last = &list[TreeList<u64>::chunkSize];
    while (list.size() < many)
        list.emplace_back();
    EXPECT_EQ(&list[TreeList<u64>::chunkSize], last);
}

TEST(TreeList, Rooms_StandInTheirOrderWhenFilledInAnother) {
    for (const u64 before : {u64{0}, u64{5}, many}) {
        TreeList<u64> list = listOf(before);
        auto first = list.makeRoom(many);
        auto second = list.makeRoom(3);
        for (u64 i = 0; i < 3; ++i)
            second.fill(i, before + many + i);
        for (u64 i = many; i-- > 0;)
            first.fill(i, before + i);
        EXPECT_EQ(second.first(), before + many);
        list.emplace_back() = before + many + 3;
        ASSERT_EQ(list.size(), before + many + 4);
        for (u64 i = 0; i < list.size(); ++i)
            ASSERT_EQ(list[i], i);
    }
}

TEST(TreeList, Elements_AreDestroyedOnce) {
    const auto counted = std::make_shared<int>();
    {
        TreeList<std::shared_ptr<int>> list;
        while (list.size() < many)
            list.emplace_back() = counted;
        auto room = list.makeRoom(2);
        room.fill(0, std::shared_ptr<int>(counted));
        room.fill(1, std::shared_ptr<int>(counted));
        EXPECT_EQ(counted.use_count(), static_cast<long>(many) + 3);
        list.clear();
        EXPECT_EQ(counted.use_count(), 1);
        list.emplace_back() = counted;
    }
    EXPECT_EQ(counted.use_count(), 1);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
