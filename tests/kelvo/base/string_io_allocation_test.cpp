// In a separate program, whose calls of malloc and realloc are counted.

#include "kelvo/base/string_io.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <utility>

namespace qv {
namespace {

using tests::allocationsOf;

TEST(StringIOAllocation, RoomThatIsThere_IsNotReservedAgain) {
    StringIO io;
    EXPECT_EQ(allocationsOf([&] { io.reserve(1000); }), 1u);
    EXPECT_EQ(allocationsOf([&] { io.reserve(1000); }), 0u);
    EXPECT_EQ(allocationsOf([&] { io.appendRepeated('x', 1000).reserve(10); }), 0u);
    EXPECT_EQ(allocationsOf([&] { io.append('x'); }), 1u);
}

TEST(StringIOAllocation, MoveAssignment_TakesTheRoomToo) {
    StringIO io, roomy;
    roomy.reserve(1000);
    io = std::move(roomy);
    EXPECT_EQ(allocationsOf([&] { io.appendRepeated('x', 1000); }), 0u);
}

TEST(StringIOAllocation, Take_ReturnsRoomOfMoreThanAnEighthOfTheText) {
    for (const auto& [room, allocations] : {std::pair{900u, 0u}, std::pair{901u, 1u}}) {
        StringIO io;
        io.reserve(room);
        io.appendRepeated('x', 800);
        EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(io.take().size(), 800u); }), allocations) << room;
    }
}

} // namespace
} // namespace qv
