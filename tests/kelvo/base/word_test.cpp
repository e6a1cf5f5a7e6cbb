#include "kelvo/base/word.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

constexpr char bytes[] = "\x01\x02\x03\x04\x05\x06\x07\x88";

TEST(Word, Load_AtCompileTime_TakesTheLeastByteFirst) {
    constexpr u64 word = word::load64(bytes);
    constexpr u32 half = word::load32(bytes);
    EXPECT_EQ(word, 0x8807060504030201u);
    EXPECT_EQ(half, 0x04030201u);
}

TEST(Word, Load_AtRunTime_IsTheSame) {
    const volatile u64 start = 0;
    EXPECT_EQ(word::load64(bytes + start), 0x8807060504030201u);
    EXPECT_EQ(word::load32(bytes + start), 0x04030201u);
}

} // namespace
} // namespace qv
