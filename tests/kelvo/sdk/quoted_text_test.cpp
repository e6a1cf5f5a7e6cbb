#include "kelvo/sdk/quoted_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

TEST(QuotedText, Quoted_EscapesWhatCannotStandInQuotes) {
    const struct {
        std::string_view text;
        const char* expected;
    } cases[] = {
        {"", R"("")"},
        {"Größe", "\"Größe\""},
        {R"(a "b" \c)", R"("a \"b\" \\c")"},
        {"a\nb\tc\r", R"("a\nb\tc\r")"},
        {std::string_view("\0", 1), R"("\x00")"},
        {"\xFF", R"("\xff")"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(quotedText(text), expected);
}

TEST(QuotedText, EveryByte_ReadsBack) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    const String text = quotedText(bytes);
    const QuotedText read = readQuoted(text.view());
    EXPECT_EQ(read.problem, nullptr);
    EXPECT_EQ(read.size, text.size());
    EXPECT_EQ(read.text.view(), bytes);
}

TEST(QuotedText, MoreBehindTheText_IsLeftAlone) {
    const QuotedText read = readQuoted(R"("a b" "c")");
    EXPECT_EQ(read.text, "a b");
    EXPECT_EQ(read.size, 5u);
}

TEST(QuotedText, MalformedText_TellsProblemAndPlace) {
    const struct {
        const char* text;
        u64 place;
        const char* word;
    } cases[] = {
        {"", 0, "expected"},           {"plain", 0, "expected"},
        {R"("open)", 5, "not closed"}, {"\"two\nlines\"", 4, "not closed"},
        {R"("a\q")", 2, "escape"},     {R"("\x4")", 1, "escape"},
    };
    for (const auto& [text, place, word] : cases) {
        const QuotedText read = readQuoted(text);
        ASSERT_NE(read.problem, nullptr) << text;
        EXPECT_NE(std::string(read.problem).find(word), std::string::npos) << read.problem;
        EXPECT_EQ(read.size, place) << text;
        EXPECT_TRUE(read.text.isEmpty()) << text;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
