#include "kelvo/sdk/impl/snapshot/byte_reader.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr std::array four{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
constexpr std::array other{std::byte{1}, std::byte{3}};

TEST(ByteReader, Skip_TakesTheseBytesAlone) {
    ByteReader in(four);
    EXPECT_FALSE(in.skip(other));
    EXPECT_EQ(in.position(), 0U);
    EXPECT_TRUE(in.skip(std::span(four).first(2)));
    EXPECT_EQ(in.position(), 2U);
    EXPECT_FALSE(in.skip(std::span(four)));
    EXPECT_TRUE(in.skip(std::span(four).last(2)));
    EXPECT_TRUE(in.isAtEnd());
    EXPECT_FALSE(in.isFailed());
}

TEST(ByteReader, AfterAFailure_SkipsNothing) {
    ByteReader in(four);
    in.fail();
    EXPECT_FALSE(in.skip(std::span(four).first(1)));
}

TEST(ByteReader, Since_ReturnsWhatWasReadFromThere) {
    ByteReader in(four);
    static_cast<void>(in.bytes(1));
    const u64 begin = in.position();
    static_cast<void>(in.bytes(2));
    const auto read = in.since(begin);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0], std::byte{2});
    EXPECT_EQ(read[1], std::byte{3});
}

} // namespace
} // namespace qv::kelvo_sdk::impl
