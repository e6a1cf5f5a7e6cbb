// In a separate program, whose calls of malloc and realloc are counted.

#include "kelvo/base/string_io.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <utility>

namespace qv {
namespace {

using tests::OomMemory;

TEST(StringIOAllocation, MoveAssignment_TakesTheRoomToo) {
    StringIO io, roomy;
    roomy.reserve(1000);
    io = std::move(roomy);
    OomMemory::arm(OomMemory::Fails::Never, 0);
    io.appendRepeated('x', 1000);
    EXPECT_EQ(OomMemory::disarm(), 0u);
}

} // namespace
} // namespace qv
