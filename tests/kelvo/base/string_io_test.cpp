#include "kelvo/base/string_io.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>

#include <malloc.h>

using namespace qv;

namespace {

template<typename T>
std::string written(T value) {
    return std::string(StringIO().appendReal(value).view());
}

template<typename T>
std::string shortest(T value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

} // namespace

TEST(StringIO, Default_IsEmpty) {
    const StringIO io;
    EXPECT_STREQ(io.buf(), "");
    EXPECT_EQ(io.size(), 0u);
    EXPECT_TRUE(io.isEmpty());
}

TEST(StringIO, Append_TakesEveryKindOfText) {
    StringIO io;
    io.append("a").append('b').append(String("c")).append(std::string_view("d")).append(nullptr);
    io.append(String()).append("");
    EXPECT_STREQ(io.buf(), "abcd");
}

TEST(StringIO, Buf_IsTerminatedAfterEachStep) {
    StringIO io;
    for (int i = 0; i < 1000; ++i) {
        io.append('x');
        ASSERT_EQ(io.buf()[i + 1], '\0');
    }
    EXPECT_EQ(io.view(), std::string(1000, 'x'));
}

TEST(StringIO, LongText_IsKeptWhole) {
    StringIO io;
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        io.appendInt(i).append(' ');
        expected += std::to_string(i) + ' ';
    }
    EXPECT_EQ(io.view(), expected);
}

TEST(StringIO, AppendRepeated_FillsUp) {
    EXPECT_EQ(StringIO().appendRepeated(' ', 4).append('x').view(), "    x");
    EXPECT_EQ(StringIO().appendRepeated(' ', 0).view(), "");
}

TEST(StringIO, Integers_AreWrittenInDecimal) {
    EXPECT_EQ(StringIO().appendInt(0).view(), "0");
    EXPECT_EQ(StringIO().appendInt(-7).view(), "-7");
    EXPECT_EQ(StringIO().appendInt(10).view(), "10");
    EXPECT_EQ(StringIO().appendInt(std::numeric_limits<i64>::min()).view(), "-9223372036854775808");
    EXPECT_EQ(StringIO().appendUInt(9).view(), "9");
    EXPECT_EQ(StringIO().appendUInt(~u64{0}).view(), "18446744073709551615");
}

TEST(StringIO, Reals_AreWrittenShortest) {
    struct Case {
        double value;
        const char* expected;
    };
    const Case cases[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {1.0, "1"},
        {-2.5, "-2.5"},
        {0.1, "0.1"},
        {0.25, "0.25"},
        {0.125, "0.125"},
        {0.001, "0.001"},
        {1.05, "1.05"},
        {100000.0, "1e+05"},
        {123456.0, "123456"},
        {412989490366079.6, "412989490366079.6"},
        {1e300, "1e+300"},
        {5e-324, "5e-324"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1.0 / 3, "0.3333333333333333"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {-std::numeric_limits<double>::infinity(), "-inf"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(written(c.value), c.expected);
}

TEST(StringIO, RealsPeopleWrite_AreWrittenLikeTheGeneralWay) {
    for (int i = 0; i <= 200000; ++i) {
        const double value = i / 1000.0;
        ASSERT_EQ(written(value), shortest(value));
        ASSERT_EQ(written(-value * 4096), shortest(-value * 4096));
        ASSERT_EQ(written(i * 500.0), shortest(i * 500.0));
    }
}

TEST(StringIO, FloatsPeopleWrite_AreWrittenLikeTheGeneralWay) {
    for (const float unit : {1.0f, 10.0f, 1000.0f, 1e5f, 1e7f})
        for (int i = 0; i < 20'000; ++i)
            for (const float value : {static_cast<float>(i * 7) / unit, -static_cast<float>(i)})
                ASSERT_EQ(written(value), shortest(value)) << value;
}

// Floats of these sizes are between two texts that are equally near, next to a power of two, at the
// ends of the short forms, or written without decimals that they have.
TEST(StringIO, FloatsAtTheEdges_AreWrittenLikeTheGeneralWay) {
    for (float edge : {0.001f, 0.162109375f, 0.5f, 1.0f, 1.0625f, 1024.0f, 65536.0f, 99999.0f,
                       100000.0f, 524288.0f, 999999.94f, 1e6f, 16777216.0f}) {
        float value = edge;
        for (int i = 0; i < 2000; ++i, value = std::nextafter(value, 0.0f))
            ASSERT_EQ(written(value), shortest(value)) << edge;
        for (int i = 0; i < 2000; ++i, edge = std::nextafter(edge, 1e30f))
            ASSERT_EQ(written(-edge), shortest(-edge)) << edge;
    }
}

TEST(StringIO, FloatsAroundEachPowerOfTwo_AreWrittenLikeTheGeneralWay) {
    for (int exponent = -12; exponent < 24; ++exponent) {
        const float power = std::ldexp(1.0f, exponent);
        for (const float value : {std::nextafter(power, 0.0f), power, std::nextafter(power, 1e30f)})
            EXPECT_EQ(written(value), shortest(value)) << exponent;
    }
}

TEST(StringIO, FloatsOfAnyBits_AreWrittenLikeTheGeneralWay) {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> sizes(-3, 6);
    for (int i = 0; i < 200'000; ++i) {
        const auto any = std::bit_cast<float>(static_cast<u32>(random()));
        for (const float value : {any, std::pow(10.0f, sizes(random))})
            ASSERT_TRUE(std::isnan(value) || written(value) == shortest(value)) << value;
    }
}

TEST(StringIO, RealsOfAnyBits_AreWrittenLikeTheGeneralWay) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i) {
        const u64 bits = random();
        const double value = std::bit_cast<double>(bits);
        if (!std::isnan(value)) {
            ASSERT_EQ(written(value), shortest(value));
        }
        const double near = static_cast<double>(bits % 1000000000) / 1000.0;
        const double next = std::nextafter(near, 1e9);
        ASSERT_EQ(written(near), shortest(near));
        ASSERT_EQ(written(next), shortest(next));
    }
}

TEST(StringIO, Floats_AreWrittenShortestForFloats) {
    EXPECT_EQ(StringIO().appendReal(0.1f).view(), "0.1");
    EXPECT_EQ(StringIO().appendReal(16777216.0f).view(), "16777216");
    EXPECT_EQ(StringIO().appendReal(-0.0f).view(), "-0");
    EXPECT_EQ(StringIO().appendReal(1e-45f).view(), "1e-45");
}

TEST(StringIO, Take_MovesTheTextOut) {
    StringIO io;
    io.appendRepeated('x', 5000);
    const String text = io.take();
    EXPECT_EQ(text, std::string_view(std::string(5000, 'x')));
    EXPECT_TRUE(io.isEmpty());
    EXPECT_STREQ(io.buf(), "");
    io.append("again");
    EXPECT_EQ(io.take(), "again");
    EXPECT_EQ(text.size(), 5000u);
}

TEST(StringIO, TakeOfNothing_IsTheEmptyString) {
    StringIO io;
    EXPECT_TRUE(io.take().isEmpty());
    io.append("x").clear();
    EXPECT_TRUE(io.take().isEmpty());
}

TEST(StringIO, Take_OfAFullSink_KeepsItsStorage) {
    StringIO io;
    io.reserve(1000);
    io.appendRepeated('x', 1000);
    const char* const buf = io.buf();
    EXPECT_EQ(io.take().buf(), buf);
}

TEST(StringIO, Take_OfAnAlmostEmptySink_ReturnsTheRest) {
    StringIO io;
    io.reserve(100'000);
    io.append("short");
    const String text = io.take();
    EXPECT_LT(malloc_usable_size(const_cast<char*>(text.buf()) - StringBuffer::headerSize), 1000u);
}

TEST(StringIO, Reserve_MakesRoomOnce) {
    StringIO io;
    io.reserve(10000);
    const char* const buf = io.buf();
    io.appendRepeated('x', 10000);
    EXPECT_EQ(io.buf(), buf);
}

TEST(StringIO, ClearAndTruncate_CutTheText) {
    StringIO io;
    io.append("abc");
    io.truncate(9);
    EXPECT_STREQ(io.buf(), "abc");
    io.truncate(1);
    EXPECT_STREQ(io.buf(), "a");
    io.clear();
    EXPECT_STREQ(io.buf(), "");
    StringIO().clear();
}

TEST(StringIO, PrepareAndCommit_TakeWhatWasWritten) {
    StringIO io;
    EXPECT_NE(StringIO().prepare(0), nullptr);
    char* to = io.prepare(10);
    to[0] = 'a';
    to[1] = 'b';
    io.commit(2);
    EXPECT_STREQ(io.buf(), "ab");
}

TEST(StringIO, Move_TakesTheText) {
    StringIO io;
    io.append("abc");
    StringIO moved(std::move(io));
    EXPECT_STREQ(moved.buf(), "abc");
    EXPECT_STREQ(io.buf(), ""); // NOLINT(bugprone-use-after-move): empty by contract
    io = std::move(moved);
    EXPECT_STREQ(io.buf(), "abc");
}

TEST(StringIO, MovedFrom_TakesTextAgain) {
    StringIO io;
    io.append("abc");
    const StringIO moved(std::move(io));
    io.append('d'); // NOLINT(bugprone-use-after-move): empty by contract
    EXPECT_STREQ(io.buf(), "d");
}

TEST(StringIO, MoveAssignment_TakesTheSize) {
    StringIO io;
    io.append("a long text");
    StringIO other;
    other.append("abc");
    io = std::move(other);
    EXPECT_EQ(io.size(), 3u);
    EXPECT_EQ(io.append('d').view(), "abcd");
}

TEST(StringIO, SmallestSizeThatIsRefused_KeepsTheText) {
    StringIO io;
    io.append("abc");
    EXPECT_THROW(io.reserve(noIndex - StringBuffer::headerSize), std::bad_alloc);
    EXPECT_EQ(io.append('d').view(), "abcd");
}

TEST(StringIO, SizesThatNoMemoryHolds_ThrowAndKeepTheText) {
    StringIO io;
    io.append("abc");
    EXPECT_THROW((void)io.prepare(~u64{0}), std::bad_alloc);
    EXPECT_THROW(io.reserve(~u64{0}), std::bad_alloc);
    EXPECT_STREQ(io.buf(), "abc");
}
