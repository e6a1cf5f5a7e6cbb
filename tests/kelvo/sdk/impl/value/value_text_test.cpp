#include "kelvo/sdk/impl/value/value_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

template<typename T, typename Bits>
void expectRoundTrip(DataType type, const std::vector<Bits>& patterns) {
    const Buffer buffer(type, patterns.data(), patterns.size());
    const String text = valueToText(buffer);
    Value read;
    ASSERT_TRUE(valueFromText(text, AttrType::Buffer, type, read));
    ASSERT_EQ(read.asBuffer().count(), patterns.size());
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        Bits bits;
        std::memcpy(&bits, static_cast<const char*>(read.asBuffer().data()) + i * sizeof bits,
                    sizeof bits);
        ASSERT_EQ(bits, patterns[i]) << std::bit_cast<T>(patterns[i]);
    }
}

TEST(ValueText, RandomDoubles_ReadBackBitForBit) {
    std::mt19937_64 random(3);
    std::vector<u64> patterns = {0,
                                 u64(1) << 63,
                                 1,
                                 0x000fffffffffffff,
                                 0x7ff0000000000000,
                                 0xfff0000000000000,
                                 0x7ff8000000000000,
                                 0xfff8000000000000,
                                 0x7ff8000000000001,
                                 0x7ff0000000000001,
                                 0xffffffffffffffff};
    for (int i = 0; i < 20000; ++i)
        patterns.push_back(random());
    expectRoundTrip<double>(DataType::Double, patterns);
}

TEST(ValueText, RandomFloats_ReadBackBitForBit) {
    std::mt19937 random(3);
    std::vector<u32> patterns = {0,          0x80000000, 1,          0x007fffff, 0x7f800000,
                                 0xff800000, 0x7fc00000, 0xffc00000, 0x7fc00001, 0x7f800001};
    for (int i = 0; i < 20000; ++i)
        patterns.push_back(static_cast<u32>(random()));
    expectRoundTrip<float>(DataType::Float, patterns);
}

TEST(ValueText, ShortDecimals_ReadAsTheNearestNumber) {
    std::mt19937 random(5);
    for (int i = 0; i < 20000; ++i) {
        const std::string text =
            std::to_string(random() % 100000) + "." + std::to_string(random() % 1000000);
        Value read;
        ASSERT_TRUE(
            valueFromText(String(std::string_view(text)), AttrType::Real, DataType::Null, read));
        ASSERT_EQ(read.asReal(), std::stod(text)) << text;
        ASSERT_TRUE(valueFromText(String(std::string_view("[" + text + "]")), AttrType::Buffer,
                                  DataType::Float, read));
        ASSERT_EQ(*static_cast<const float*>(read.asBuffer().data()), std::stof(text)) << text;
    }
}

// Such numbers are rounded wrongly when they are rounded to double first.
TEST(ValueText, NumbersNextToTheMiddleOfTwoFloats_ReadAsTheNearestFloat) {
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        const auto mantissa = static_cast<double>((random() & 0x7fffff) | 0x800000);
        const double middle = std::ldexp(mantissa + 0.5, -20 - static_cast<int>(random() % 12));
        char text[64];
        std::snprintf(text, sizeof text, "%.*f", 7 + i % 9, middle);
        Value read;
        ASSERT_TRUE(
            valueFromText(String("[") + text + "]", AttrType::Buffer, DataType::Float, read));
        ASSERT_EQ(*static_cast<const float*>(read.asBuffer().data()), std::strtof(text, nullptr))
            << text;
    }
}

class EveryDataType : public testing::TestWithParam<u32> {};

TEST_P(EveryDataType, RoundTrip_KeepsTypeCountAndBytes) {
    const auto type = static_cast<DataType>(GetParam());
    Buffer buffer(type, 3);
    auto* bytes = static_cast<char*>(buffer.edit());
    for (u64 i = 0; i < buffer.byteSize(); ++i)
        bytes[i] = type == DataType::Bool ? i % 2 : char(i + 1);
    Value read;
    ASSERT_TRUE(valueFromText(valueToText(buffer), AttrType::Buffer, type, read));
    EXPECT_EQ(read.asBuffer(), buffer) << valueToText(buffer).buf();
}

TEST_P(EveryDataType, CutText_IsRefusedOrShorter) {
    const auto type = static_cast<DataType>(GetParam());
    const String text = valueToText(Buffer(type, 2));
    for (u64 length = 0; length < text.size(); ++length) {
        Value read("untouched");
        EXPECT_FALSE(valueFromText(text.substr(0, length), AttrType::Buffer, type, read));
        EXPECT_EQ(read, Value("untouched"));
    }
}
INSTANTIATE_TEST_SUITE_P(Types, EveryDataType, testing::Range(0u, 60u));

struct TextCase {
    AttrType kind;
    const char* text;
    const char* expected;
    const char* note;
};

class ValueTextTable : public testing::TestWithParam<TextCase> {};

// Null stands for a text that is refused.
TEST_P(ValueTextTable, Result) {
    const TextCase& c = GetParam();
    Value value;
    const bool read = valueFromText(c.text, c.kind, DataType::Int32, value);
    ASSERT_EQ(read, c.expected != nullptr) << c.text << ": " << c.note;
    EXPECT_STREQ(read ? valueToText(value).buf() : nullptr, c.expected) << c.note;
}

const TextCase kTexts[] = {
    {AttrType::Bool, "true", "true", ""},
    {AttrType::Bool, "truely", nullptr, "a longer word"},
    {AttrType::Bool, "1", nullptr, "a number"},
    {AttrType::Int, "-9223372036854775808", "-9223372036854775808", "the least"},
    {AttrType::Int, "9223372036854775808", nullptr, "one too many"},
    {AttrType::Int, "1.0", nullptr, "a point"},
    {AttrType::Int, "0x10", nullptr, "not decimal"},
    {AttrType::UInt, "18446744073709551615", "18446744073709551615", "the most"},
    {AttrType::UInt, "-1", nullptr, ""},
    {AttrType::Real, "0.1", "0.1", ""},
    {AttrType::Real, "-0", "-0", ""},
    {AttrType::Real, "inf", "inf", ""},
    {AttrType::Real, "-inf", "-inf", ""},
    {AttrType::Real, "nan", "nan", ""},
    {AttrType::Real, "-nan", "-nan", ""},
    {AttrType::Real, "nan(0x7ff8000000000001)", "nan(0x7ff8000000000001)", ""},
    {AttrType::Real, "nan(0x7ff0000000000000)", nullptr, "these bits are no NaN"},
    {AttrType::Real, "infinity", nullptr, "a longer word"},
    {AttrType::Real, "1e400", nullptr, "out of range"},
    {AttrType::Real, "1..2", nullptr, ""},
    {AttrType::Real, ".", nullptr, ""},
    {AttrType::Real, "+1", nullptr, ""},
    {AttrType::Real, "1e5", "1e+05", ""},
    {AttrType::Vec3, "( 1\n2\t3 )", "(1 2 3)", "any white space"},
    {AttrType::Vec3, "(1 2 3 4)", nullptr, "too many"},
    {AttrType::Vec3, "(1 2 3", nullptr, "not closed"},
    {AttrType::Mat3, "(1 2 3 4 5 6 7 8 9)", "(1 2 3  4 5 6  7 8 9)", "rows are set apart"},
    {AttrType::Buffer, "[1, 2 3]", "[1 2 3]", "commas or not"},
    {AttrType::Buffer, "[]", "[]", ""},
    {AttrType::Buffer, "[1 2", nullptr, "not closed"},
    {AttrType::Buffer, "[2147483648]", nullptr, "out of the range of the element"},
    {AttrType::String, " as \"it\" is ", " as \"it\" is ", ""},
    {AttrType::Node, "lamp", nullptr, "there is no scene here"},
    {AttrType::Array, "[]", nullptr, ""},
    {AttrType::Null, "", nullptr, ""},
};
INSTANTIATE_TEST_SUITE_P(Table, ValueTextTable, testing::ValuesIn(kTexts));

std::string quoted(std::string_view text) {
    StringIO out;
    writeQuoted(text, out);
    return std::string(out.view());
}

TEST(ValueText, Quoted_EscapesWhatCannotStandThere) {
    EXPECT_EQ(quoted(""), "\"\"");
    EXPECT_EQ(quoted("plain, Größe"), "\"plain, Größe\"");
    EXPECT_EQ(quoted("a\"b\\c\n\r\t"), "\"a\\\"b\\\\c\\n\\r\\t\"");
    EXPECT_EQ(quoted(std::string_view("\0\x1f\x7f", 3)), "\"\\x00\\x1f\\x7f\"");
    EXPECT_EQ(quoted("\xff\xc3"), "\"\\xff\\xc3\"") << "bytes that are no UTF-8";
}

TEST(ValueText, Written_StringsAreQuotedAndNoNodeIsNull) {
    StringIO out;
    writeValue(Value("a"), out);
    writeValue(Value(static_cast<interfaces::INode*>(nullptr)), out);
    EXPECT_STREQ(out.buf(), "\"a\"null");
}

TEST(ValueText, Reader_TellsWhatIsMissingWhere) {
    const std::string_view text = "(1 x)";
    ValueReader reader(text.data(), text.data() + text.size());
    Value value;
    EXPECT_FALSE(reader.read(AttrType::Vec2, DataType::Null, value));
    EXPECT_EQ(reader.at() - text.data(), 3);
    EXPECT_STREQ(reader.expected(), "a number");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
