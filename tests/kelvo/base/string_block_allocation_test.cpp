// In a separate program, whose allocated blocks are counted.

#include "kelvo/base/string_block.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

using tests::OomMemory;

TEST(StringBlockAllocation, TextsOfABlockAndOthers_AreFreedWithTheLast) {
    const i64 before = OomMemory::live();
    String kept;
    {
        StringBlock block(2, 8);
        const String own("of its own"), other = block.add("abcd");
        kept = block.add("efgh");
        EXPECT_EQ(OomMemory::live(), before + 2);
    }
    EXPECT_EQ(OomMemory::live(), before + 1);
    kept = String();
    EXPECT_EQ(OomMemory::live(), before);
}

} // namespace
} // namespace qv
