#include "tools/import/memory_limit.h"

#include <gtest/gtest.h>

#include <new>

namespace qv::model_import {
namespace {

constexpr u64 kMega = 1 << 20;

// Keeps the compiler from optimising an allocation away.
char* volatile s_block = nullptr;

bool canTake(u64 bytes) {
    s_block = new (std::nothrow) char[bytes];
    const bool isThere = s_block != nullptr;
    delete[] s_block;
    return isThere;
}

TEST(MemoryLimit, WhileItLives_RefusesWhatIsBeyond) {
    const MemoryLimit limit(8 * kMega);
    EXPECT_TRUE(canTake(4 * kMega));
    EXPECT_FALSE(canTake(9 * kMega));
    EXPECT_THROW(s_block = new char[9 * kMega], std::bad_alloc);
}

TEST(MemoryLimit, OnManyBlocks_CountsWhatTheyHold) {
    const MemoryLimit limit(8 * kMega);
    char* volatile first = new char[5 * kMega];
    EXPECT_FALSE(canTake(5 * kMega));
    delete[] first;
}

TEST(MemoryLimit, OnFreedBlocks_CountsThemNoMore) {
    const MemoryLimit limit(8 * kMega);
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(canTake(5 * kMega));
}

TEST(MemoryLimit, Raised_GrantsMore) {
    MemoryLimit limit(8 * kMega);
    limit.raise(8 * kMega);
    EXPECT_TRUE(canTake(12 * kMega));
    limit.raise(~u64{0});
    EXPECT_TRUE(canTake(100 * kMega));
}

TEST(MemoryLimit, AtItsEnd_LimitsNothing) {
    { const MemoryLimit limit(kMega); }
    EXPECT_TRUE(canTake(100 * kMega));
}

} // namespace
} // namespace qv::model_import
