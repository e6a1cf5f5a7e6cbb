#include "kelvo/sdk/impl/scene_text/tree_list.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace qv::kelvo_sdk::impl
