#include "kelvo/base/pointer_marks.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qv {
namespace {

struct Object;
using Marks = PointerMarks<Object>;

// Only the addresses count: they are never dereferenced.
const Object* objectAt(u64 index) {
    return reinterpret_cast<const Object*>((index + 1) * 4096);
}

TEST(PointerMarks, First_IsNewAndKeepsItsValue) {
    Marks marks;
    EXPECT_EQ(marks.find(objectAt(0)), nullptr);
    EXPECT_TRUE(marks.add(objectAt(0), 7).isNew);
    const Marks::Added again = marks.add(objectAt(0), 9);
    EXPECT_FALSE(again.isNew);
    EXPECT_EQ(again.value, 7);
    again.value = 5;
    EXPECT_EQ(marks.add(objectAt(0), 0).value, 5);
    EXPECT_EQ(marks.size(), 1u);
}

TEST(PointerMarks, FoundValue_CanBeChanged) {
    Marks marks;
    EXPECT_EQ(marks.find(objectAt(0)), nullptr);
    marks.add(objectAt(0), 7);
    *marks.find(objectAt(0)) = 5;
    EXPECT_EQ(*std::as_const(marks).find(objectAt(0)), 5);
}

TEST(PointerMarks, AbsentObject_IsNotFoundAmongAnyNumber) {
    Marks marks;
    for (u64 i = 0; i < 200; ++i) {
        marks.add(objectAt(i), 7);
        EXPECT_EQ(marks.find(objectAt(1000)), nullptr) << i;
    }
}

TEST(PointerMarks, Many_AreKeptApart) {
    Marks marks;
    constexpr u64 kCount = 20'000;
    for (u64 i = 0; i < kCount; ++i)
        EXPECT_TRUE(marks.add(objectAt(i), static_cast<i64>(i)).isNew);
    for (u64 i = 0; i < kCount; ++i)
        EXPECT_EQ(marks.add(objectAt(i), -1).value, static_cast<i64>(i));
    EXPECT_EQ(marks.find(objectAt(kCount)), nullptr);
    EXPECT_EQ(marks.size(), kCount);
}

} // namespace
} // namespace qv
