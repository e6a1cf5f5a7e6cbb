#include "kelvo/base/walk_all.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv {
namespace {

TEST(WalkAll, Steps_ComeOnceEach_LastAddedFirst) {
    std::vector<int> met;
    walkAll(1, [&](int step, const auto& add) {
        met.push_back(step);
        if (step >= 4) return;
        add(2 * step);
        add(2 * step + 1);
    });
    EXPECT_EQ(met, (std::vector{1, 3, 7, 6, 2, 5, 4}));
}

TEST(WalkAll, LongChains_TakeNoStack) {
    int last = 0;
    walkAll(0, [&](int step, const auto& add) {
        last = step;
        if (step < 1'000'000) add(step + 1);
    });
    EXPECT_EQ(last, 1'000'000);
}

} // namespace
} // namespace qv
