// The usage of the pool of empty arrays is read while other threads take and return arrays.

#include "kelvo/base/empty_arrays.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace qv::ds {
namespace {

TEST(EmptyArraysThreads, Usage_IsSoundWhileOthersTakeAndGive) {
    const EmptyArrays::Usage before = EmptyArrays::usage();
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop)
                EmptyArrays::take()->releaseAll();
        });
    }
    for (int i = 0; i < 5000; ++i) {
        const EmptyArrays::Usage now = EmptyArrays::usage();
        EXPECT_LE(now.taken, before.taken + threads.size());
        EXPECT_LE(now.taken, now.total);
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(EmptyArrays::usage().taken, before.taken);
}

} // namespace
} // namespace qv::ds
