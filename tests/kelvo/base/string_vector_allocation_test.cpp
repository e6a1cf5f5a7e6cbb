// In a separate program, whose calls of malloc and realloc are counted.

#include "kelvo/base/string_vector.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

using tests::OomMemory;

TEST(StringVectorAllocation, EmptyList_AllocatesNothing) {
    OomMemory::arm(OomMemory::Fails::Never, 0);
    const StringVector none, empty({});
    EXPECT_EQ(OomMemory::disarm(), 0u);
    EXPECT_TRUE(none == empty);
}

TEST(StringVectorAllocation, RoomReserved_IsUsed) {
    const String item("item");
    StringVector items;
    items.reserve(20);
    OomMemory::arm(OomMemory::Fails::Never, 0);
    for (int i = 0; i < 20; ++i)
        items.push_back(item);
    EXPECT_EQ(OomMemory::disarm(), 0u);
    EXPECT_EQ(items.size(), 20u);
}

} // namespace
} // namespace qv
