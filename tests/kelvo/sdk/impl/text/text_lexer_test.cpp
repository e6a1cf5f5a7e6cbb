#include "kelvo/sdk/impl/text/text_lexer.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(TextLexer, Identifier_TakesLettersDigitsAndUnderscores) {
    TextLexer lexer("_a1B-c");
    EXPECT_EQ(lexer.identifier(), "_a1B");
    EXPECT_EQ(lexer.peek(), '-');
}

TEST(TextLexer, Identifier_WhereNoneStarts_IsEmptyAndTakesNothing) {
    for (const char* text : {"", "1a", "-", " a", "\xc3\xbc"}) {
        TextLexer lexer(text);
        EXPECT_EQ(lexer.identifier(), "") << text;
        EXPECT_EQ(lexer.offset(), 0u) << text;
    }
}

TEST(TextLexer, PeekIdentifier_TakesNothing) {
    const TextLexer lexer("name = 1");
    EXPECT_EQ(lexer.peekIdentifier(), "name");
    EXPECT_EQ(lexer.offset(), 0u);
}

TEST(TextLexer, Accept_AnotherMark_TakesNothing) {
    TextLexer lexer("<-");
    EXPECT_FALSE(lexer.accept("<="));
    EXPECT_FALSE(lexer.accept('-'));
    EXPECT_TRUE(lexer.accept("<-"));
    EXPECT_TRUE(lexer.atEnd());
    EXPECT_FALSE(lexer.accept('-'));
}

TEST(TextLexer, SkipBlanks_StaysOnItsLine) {
    TextLexer lexer(" \t\r\n x");
    lexer.skipBlanks();
    EXPECT_EQ(lexer.offset(), 3u);
    EXPECT_TRUE(lexer.atLineEnd());
}

TEST(TextLexer, SkipSpace_TellsWhetherThereWasAComment) {
    TextLexer without(" \n x");
    EXPECT_FALSE(without.skipSpace());
    EXPECT_EQ(without.peek(), 'x');
    TextLexer with(" # one\n# two\nx");
    EXPECT_TRUE(with.skipSpace());
    EXPECT_EQ(with.peek(), 'x');
}

TEST(TextLexer, Comment_EndsWithItsLine) {
    TextLexer lexer("# some words \t\r\nx");
    EXPECT_EQ(lexer.comment(), "# some words");
    EXPECT_EQ(lexer.peek(), '\n');
    EXPECT_EQ(lexer.comment(), "");
}

struct QuotedCase {
    std::string text;
    std::string expected;
    const char* note;
};

class TextLexerQuoted : public testing::TestWithParam<QuotedCase> {};

TEST_P(TextLexerQuoted, Result) {
    TextLexer lexer(GetParam().text);
    String out;
    const char* problem = nullptr;
    ASSERT_TRUE(lexer.quoted(out, problem)) << problem;
    EXPECT_EQ(out.view(), GetParam().expected) << GetParam().note;
    EXPECT_EQ(lexer.peek(), '.') << "stands behind the text";
}

const QuotedCase kQuoted[] = {
    {R"("".)", "", "empty"},
    {R"("plain # text".)", "plain # text", "no comment inside"},
    {R"("\"\\\n\r\t".)", "\"\\\n\r\t", "escapes"},
    {R"("\0".)", std::string(1, '\0'), "NUL"},
    {R"("a\x00\xfF\x41z".)",
     std::string("a\0\xff"
                 "Az",
                 5),
     "any byte"},
    {"\"gr\xc3\xbc\xc3\x9f\x65\".", "gr\xc3\xbc\xc3\x9f\x65", "UTF-8"},
    {"\"tab\t\".", "tab\t", "a tab may stand for itself"},
};
INSTANTIATE_TEST_SUITE_P(Table, TextLexerQuoted, testing::ValuesIn(kQuoted));

struct MalformedCase {
    const char* text;
    u64 offset;
    const char* note;
};

class TextLexerMalformed : public testing::TestWithParam<MalformedCase> {};

TEST_P(TextLexerMalformed, StandsAtTheProblem) {
    TextLexer lexer(GetParam().text);
    String out("before");
    const char* problem = nullptr;
    EXPECT_FALSE(lexer.quoted(out, problem));
    EXPECT_NE(problem, nullptr);
    EXPECT_EQ(lexer.offset(), GetParam().offset) << GetParam().note;
    EXPECT_EQ(out.view(), "before");
}

const MalformedCase kMalformed[] = {
    {"\"abc", 4, "cut off"},
    {"\"", 1, "cut off at once"},
    {"\"abc\ndef\"", 4, "an end of line"},
    {"\"a\\n\n\"", 4, "an end of line behind an escape"},
    {"\"a\\q\"", 2, "no such escape"},
    {"\"a\\", 2, "an escape cut off"},
    {"\"a\\x", 2, "a byte cut off"},
    {"\"a\\x4", 2, "a byte cut off"},
    {"\"a\\x4g\"", 2, "no hexadecimal digit"},
    {"\"\\xg4\"", 1, "no hexadecimal digit"},
};
INSTANTIATE_TEST_SUITE_P(Table, TextLexerMalformed, testing::ValuesIn(kMalformed));

struct FoundCase {
    std::string text;
    std::string expected;
};

class TextLexerFound : public testing::TestWithParam<FoundCase> {};

TEST_P(TextLexerFound, Text) {
    EXPECT_EQ(TextLexer(GetParam().text).found().view(), GetParam().expected);
}

const FoundCase kFound[] = {
    {"", "the end of the text"},
    {"\nx", "the end of the line"},
    {"\r\n", "the end of the line"},
    {"name = 1", "'name'"},
    {"-1.5e+3)", "'-1.5e+3'"},
    {")(", "')'"},
    {"\xe2\x82\xac!", "'\xe2\x82\xac'"},
    {std::string(1, '\0'), "the byte 0x00"},
    {std::string(50, 'a'), "'" + std::string(40, 'a') + "...'"},
};
INSTANTIATE_TEST_SUITE_P(Table, TextLexerFound, testing::ValuesIn(kFound));

TEST(LineCounter, PlaceOf_CountsFromOne) {
    LineCounter lines("ab\n\nc\n");
    struct {
        u64 offset, line, column;
    } const cases[] = {{0, 1, 1}, {1, 1, 2}, {2, 1, 3}, {3, 2, 1}, {4, 3, 1}, {5, 3, 2}, {6, 4, 1}};
    for (const auto& [offset, line, column] : cases) {
        EXPECT_EQ(lines.placeOf(offset).line, line) << offset;
        EXPECT_EQ(lines.placeOf(offset).column, column) << offset;
    }
}

TEST(LineCounter, PlaceOf_AnEarlierPlace_IsFoundToo) {
    LineCounter lines("a\nb\nc");
    EXPECT_EQ(lines.placeOf(4).line, 3u);
    EXPECT_EQ(lines.placeOf(0).line, 1u);
    EXPECT_EQ(lines.placeOf(2).line, 2u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
