// In a separate program, whose calls of malloc and realloc are counted.

#include "kelvo/base/pointer_marks.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv {
namespace {

using tests::allocationsOf;

TEST(PointerMarksAllocation, Reserve_MakesRoomForAllAtOnce) {
    const std::vector<int> objects(1000);
    for (const u64 count : {1u, 3u, 48u, 49u, 96u, 1000u}) {
        PointerMarks<int> marks;
        EXPECT_EQ(allocationsOf([&] { marks.reserve(count); }), 1u) << count;
        EXPECT_EQ(allocationsOf([&] {
                      for (u64 i = 0; i < count; ++i)
                          marks.add(&objects[i], 1);
                  }),
                  0u)
            << count;
    }
}

TEST(PointerMarksAllocation, RoomThatIsThere_IsNotReservedAgain) {
    PointerMarks<int> marks;
    const int object = 0;
    marks.add(&object, 1);
    EXPECT_EQ(allocationsOf([&] { marks.reserve(40); }), 0u);
    EXPECT_TRUE(marks.find(&object));
}

} // namespace
} // namespace qv
