#include "kelvo/base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace qv {
namespace {

struct SequenceCase {
    std::string_view text;
    u64 expected;
    const char* note;
};

class Utf8Sequence : public testing::TestWithParam<SequenceCase> {};

TEST_P(Utf8Sequence, Length) {
    EXPECT_EQ(utf8::sequenceLength(GetParam().text), GetParam().expected) << GetParam().note;
}

const SequenceCase kSequences[] = {
    {"", 0, "nothing"},
    {"a", 1, "ASCII"},
    {"\n", 1, "control characters are characters"},
    {"\xc3\xbc", 2, "two bytes"},
    {"\xc2\x80", 2, "the first of two bytes"},
    {"\xe2\x82\xac", 3, "three bytes"},
    {"\xf0\x9f\x98\x80", 4, "four bytes"},
    {"\xf4\x8f\xbf\xbf", 4, "the last code point"},
    {"\x80", 0, "a byte that goes on what did not start"},
    {"\xc3", 0, "cut off"},
    {"\xe2\x82", 0, "cut off"},
    {"\xf0\x9f\x98", 0, "cut off"},
    {"\xc3z", 0, "not gone on"},
    {"\xe2\x82z", 0, "not gone on"},
    {"\xc0\x80", 0, "overlong"},
    {"\xc1\xbf", 0, "overlong"},
    {"\xe0\x9f\xbf", 0, "overlong"},
    {"\xf0\x8f\xbf\xbf", 0, "overlong"},
    {"\xed\xa0\x80", 0, "half of a surrogate pair"},
    {"\xed\x9f\xbf", 3, "the last before the surrogates"},
    {"\xee\x80\x80", 3, "the first behind the surrogates"},
    {"\xf4\x90\x80\x80", 0, "behind the last code point"},
    {"\xf5\x80\x80\x80", 0, "behind the last code point"},
    {"\xff", 0, "no UTF-8 at all"},
};
INSTANTIATE_TEST_SUITE_P(Table, Utf8Sequence, testing::ValuesIn(kSequences));

struct FaultCase {
    std::string text;
    u64 expected;
    const char* note;
};

class Utf8Fault : public testing::TestWithParam<FaultCase> {};

TEST_P(Utf8Fault, Position) {
    EXPECT_EQ(utf8::firstFault(GetParam().text), GetParam().expected) << GetParam().note;
}

const FaultCase kFaults[] = {
    {"", 0, "nothing is right"},
    {"plain text of some length, ~", 28, "ASCII"},
    {"tab\tnew line\nreturn\r.", 21, "white space"},
    {"eight by\x7ftes", 8, "delete"},
    {std::string("a\0b", 3), 1, "NUL"},
    {"in the middle of a word \x1b[0m", 24, "escape"},
    {"gr\xc3\xbc\xc3\x9f\x65", 7, "UTF-8"},
    {"0123456789\xc3(", 10, "malformed behind a whole word"},
    {"\xff", 0, "at once"},
};
INSTANTIATE_TEST_SUITE_P(Table, Utf8Fault, testing::ValuesIn(kFaults));

TEST(Utf8, FirstFault_EveryByteAtEveryPlaceInAWord_IsFoundThere) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool isRight =
            byte == '\t' || byte == '\n' || byte == '\r' || (byte >= ' ' && byte < 0x7f);
        for (u64 at = 0; at < 16; ++at) {
            for (const char other : {'x', 'X'}) {
                std::string text(16, other);
                text[at] = static_cast<char>(byte);
                EXPECT_EQ(utf8::firstFault(text), isRight ? 16 : at) << byte;
            }
        }
    }
}

TEST(Utf8, FirstFault_From_LooksNoFurtherBack) {
    EXPECT_EQ(utf8::firstFault("a\xff\xff", 2), 2u);
    EXPECT_EQ(utf8::firstFault("a\xff z", 2), 4u);
}

} // namespace
} // namespace qv
