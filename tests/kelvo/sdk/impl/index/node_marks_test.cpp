#include "kelvo/sdk/impl/index/node_marks.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// Only the addresses count: they are never dereferenced.
const interfaces::INode* nodeAt(u64 index) {
    return reinterpret_cast<const interfaces::INode*>((index + 1) * 4096);
}

TEST(NodeMarks, First_IsNewAndKeepsItsValue) {
    NodeMarks marks;
    EXPECT_FALSE(marks.contains(nodeAt(0)));
    EXPECT_TRUE(marks.add(nodeAt(0), 7).isNew);
    const NodeMarks::Added again = marks.add(nodeAt(0), 9);
    EXPECT_FALSE(again.isNew);
    EXPECT_EQ(again.value, 7);
    again.value = 5;
    EXPECT_EQ(marks.add(nodeAt(0), 0).value, 5);
    EXPECT_EQ(marks.size(), 1u);
}

TEST(NodeMarks, Many_AreKeptApart) {
    NodeMarks marks;
    constexpr u64 kCount = 20'000;
    for (u64 i = 0; i < kCount; ++i)
        EXPECT_TRUE(marks.add(nodeAt(i), static_cast<i64>(i)).isNew);
    for (u64 i = 0; i < kCount; ++i)
        EXPECT_EQ(marks.add(nodeAt(i), -1).value, static_cast<i64>(i));
    EXPECT_FALSE(marks.contains(nodeAt(kCount)));
    EXPECT_EQ(marks.size(), kCount);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
