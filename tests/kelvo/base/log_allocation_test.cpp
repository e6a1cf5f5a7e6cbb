// In a separate program, whose calls of malloc and realloc can be made to fail.

#include "kelvo/base/log.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

using tests::OomMemory;

TEST(LogOutOfMemory, MessageWithoutAHandler_IsWrittenAllTheSame) {
    testing::internal::CaptureStderr();
    OomMemory::arm(OomMemory::Fails::FromThen, 1);
    logError("There is no memory for '%s'.", "lamp");
    logWarning("There is %d.", 0);
    OomMemory::disarm();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: There is no memory for 'lamp'.\nwarning: There is 0.\n");
}

} // namespace
} // namespace qv
