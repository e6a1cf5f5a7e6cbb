// In a separate program, whose calls of malloc and realloc are counted.

#include "kelvo/base/string.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

using tests::OomMemory;

TEST(StringAllocation, Replace_AllocatesTheResultAlone) {
    const String text("a text of some length."), from("."), to("!");
    OomMemory::arm(OomMemory::Fails::Never, 0);
    const String replaced = text.replace(from, to, true, false);
    EXPECT_EQ(OomMemory::disarm(), 1u);
    EXPECT_EQ(replaced, "a text of some length!");
}

} // namespace
} // namespace qv
