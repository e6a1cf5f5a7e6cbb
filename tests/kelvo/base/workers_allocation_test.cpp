// In a separate program, whose calls of malloc and realloc can be made to fail.

#include "kelvo/base/workers.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace qv {
namespace {

using tests::OomMemory;

TEST(WorkersOutOfMemory, ThreadThatWasStarted_IsKept) {
    const Workers workers(4, [](const Workers::Task& task) {
        std::thread started(task);
        OomMemory::arm(OomMemory::Fails::FromThen, 1);
        return started;
    });
    std::atomic<int> times = 0;
    workers.run(100, [&](u64) { ++times; });
    OomMemory::disarm();
    EXPECT_EQ(times, 100);
}

} // namespace
} // namespace qv
