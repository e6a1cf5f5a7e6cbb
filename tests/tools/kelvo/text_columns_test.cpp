#include "tools/kelvo/text_columns.h"

#include <gtest/gtest.h>

namespace qv::kelvo_tool {
namespace {

std::string wrapped(std::string_view text, const Wrapping& wrapping) {
    StringIO out;
    appendWrapped(out, text, wrapping);
    return std::string(out.take().view());
}

std::string plain(std::string_view text) {
    StringIO out;
    appendPlain(out, text);
    return std::string(out.take().view());
}

TEST(ColumnsOf, Text_TakesWhatATerminalGivesIt) {
    const struct {
        std::string_view text;
        u64 expected;
        const char* note;
    } cases[] = {
        {"", 0, "nothing"},
        {"abc", 3, "plain"},
        {"St\xc3\xa4rke", 6, "two bytes, one column"},
        {"a\xcc\x88", 1, "a mark of its own"},
        {"\xe6\xbc\xa2\xe5\xad\x97", 4, "wide characters"},
        {"\xf0\x9f\x92\xa1", 2, "four bytes"},
        {"\xff\xfe", 2, "bytes that are no text"},
    };
    for (const auto& [text, expected, note] : cases)
        EXPECT_EQ(columnsOf(text), expected) << note;
}

TEST(AppendPlain, Commands_BecomeQuestionMarks) {
    const struct {
        std::string_view text;
        const char* expected;
        const char* note;
    } cases[] = {
        {"a b", "a b", "plain"},
        {"\x1b[31m", "?[31m", "escape"},
        {"a\tb\r\n\x7f", "a?b???", "controls"},
        {"\xc2\x9b", "?", "control of the upper half"},
        {"\xe2\x80\xae", "?", "turns the direction of writing"},
        {"\xff\xc3", "??", "bytes that are no text"},
        {"\xc3\xa4", "\xc3\xa4", "a letter"},
    };
    for (const auto& [text, expected, note] : cases)
        EXPECT_EQ(plain(text), expected) << note;
}

TEST(AppendWrapped, Words_FillLinesUpToTheWidth) {
    EXPECT_EQ(wrapped("one two three", {7, 0}), "one two\nthree\n");
    EXPECT_EQ(wrapped("one  two\tthree ", {80, 2}), "  one two three\n");
}

TEST(AppendWrapped, WordThatIsTooLong_HasALineForItself) {
    EXPECT_EQ(wrapped("a verylongword b", {6, 2}), "  a\n  verylongword\n  b\n");
}

TEST(AppendWrapped, First_StandsInFrontOfTheFirstLine) {
    EXPECT_EQ(wrapped("one two", {9, 5, "name "}), "name one\n     two\n");
    EXPECT_EQ(wrapped("", {9, 5, "name "}), "name \n");
}

TEST(AppendWrapped, EndsOfLines_AreKeptAndOneBlankOne) {
    EXPECT_EQ(wrapped("a\nb\n\n\nc\n", {80, 0}), "a\nb\n\nc\n");
    EXPECT_EQ(wrapped("", {80, 0}), "");
}

TEST(BytesWithin, Text_EndsBehindTheLastCharacterThatFits) {
    const struct {
        std::string_view text;
        u64 columns;
        std::size_t expected;
        const char* note;
    } cases[] = {
        {"abc", 5, 3, "all"},
        {"abc", 3, 3, "just so"},
        {"abc", 2, 2, "a part"},
        {"abc", 0, 0, "nothing"},
        {"\xe6\xbc\xa2\xe5\xad\x97", 3, 3, "half of a wide character does not fit"},
        {"ab\xcc\x88"
         "c",
         2, 4, "a mark goes with its letter"},
        {"\xff\xff", 1, 1, "no UTF-8"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(bytesWithin(test.text, test.columns), test.expected) << test.note;
}

TEST(IsPlainText, Bytes_AreTextWithoutControlsAndFaults) {
    for (const std::string_view text : {"", "a\tb\r\n", "\xe6\xbc\xa2"})
        EXPECT_TRUE(isPlainText(text)) << text;
    for (const std::string_view text :
         {std::string_view("a\0b", 3), std::string_view("\x1b[m"), std::string_view("\xff")})
        EXPECT_FALSE(isPlainText(text)) << text;
}

} // namespace
} // namespace qv::kelvo_tool
