#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"

#include <gtest/gtest.h>

#include <string>

using namespace qv;

namespace {

// Joins the pieces into one text, so that a table can hold them.
std::string shown(const StringVector& pieces) {
    std::string text;
    for (const String& piece : pieces)
        text += '[' + std::string(piece.view()) + ']';
    return text;
}

} // namespace

TEST(String, Trim_CutsTheChosenEnds) {
    struct Case {
        const char* text;
        bool leading, trailing;
        const char* expected;
    };
    const Case cases[] = {
        {" \t\r\n\v\f", true, true, ""}, {"  a b ", true, true, "a b"},
        {"  a ", true, false, "a "},     {"  a ", false, true, "  a"},
        {" a ", false, false, " a "},    {"", true, true, ""},
        {"a", true, true, "a"},          {"\xc2\xa0x", true, true, "\xc2\xa0x"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(String(c.text).trim(c.leading, c.trailing), c.expected) << '\'' << c.text << '\'';
}

TEST(String, OperationsThatChangeNothing_ShareTheBuffer) {
    const String text("Plain Text");
    EXPECT_EQ(text.trim(true, true).buf(), text.buf());
    EXPECT_EQ(text.titleCased(true).buf(), text.buf());
    EXPECT_EQ(text.replace("x_", "y", true, false).buf(), text.buf());
    EXPECT_EQ(text.toFirst('.', false).buf(), text.buf());
    EXPECT_EQ(text.substr(0).buf(), text.buf());
}

TEST(String, OperationsThatChangeText_LeaveTheReceiver) {
    const String text(" a b ");
    (void)text.trim(true, true);
    (void)text.titleCased(true);
    (void)text.replace("a", "c", true, false);
    EXPECT_EQ(text, " a b ");
}

TEST(String, TitleCased_CapitalisesEachWord) {
    struct Case {
        const char* text;
        bool keepRest;
        const char* expected;
    };
    const Case cases[] = {
        {"base color", true, "Base Color"},
        {"base_color", true, "Base_Color"},
        {"baseColor", true, "BaseColor"},
        {"baseColor", false, "Basecolor"},
        {"  two\twords", true, "  Two\tWords"},
        {"RGB value", false, "Rgb Value"},
        {"", true, ""},
        {"2nd", true, "2nd"},
        {"a-b", true, "A-b"},
        {"\xc3\xa4 x", true, "\xc3\xa4 X"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(String(c.text).titleCased(c.keepRest), c.expected) << c.text;
}

TEST(String, Case_FollowsAsciiRules) {
    EXPECT_EQ(String("Ab[\xc3\x84").toLower(), "ab[\xc3\x84");
    EXPECT_EQ(String("Ab{\xc3\xa4").toUpper(), "AB{\xc3\xa4");
}

TEST(String, Replace_ReplacesWhatTheFlagsSay) {
    struct Case {
        const char *text, *from, *to;
        bool all, ignoreCase;
        const char* expected;
        const char* note;
    };
    const Case cases[] = {
        {"a.b.c", ".", "/", true, false, "a/b/c", "all"},
        {"a.b.c", ".", "/", false, false, "a/b.c", "the first only"},
        {"aXbx", "x", "-", true, false, "aXb-", "exact"},
        {"aXbx", "x", "-", true, true, "a-b-", "case ignored"},
        {"aaa", "aa", "b", true, false, "ba", "occurrences do not overlap"},
        {"aa", "a", "aa", true, false, "aaaa", "what is put in is not searched"},
        {"abc", "", "x", true, false, "abc", "nothing to find"},
        {"abc", "abc", "", true, false, "", "all gone"},
        {"", "a", "b", true, false, "", "empty text"},
        {"a", "a", "bcd", true, false, "bcd", "more than the whole text"},
        {"Mat.a", "mat.", "x.", false, true, "x.a", "at the start"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(String(c.text).replace(c.from, c.to, c.all, c.ignoreCase), c.expected) << c.note;
}

TEST(String, Split_CutsAtSeparators) {
    struct Case {
        const char* text;
        bool keepEmpty, trim;
        const char* expected;
        const char* note;
    };
    const Case cases[] = {
        {"a,b,c", true, false, "[a][b][c]", "plain"},
        {"a, b ,c", true, false, "[a][ b ][c]", "pieces as they are"},
        {"a, b ,c", true, true, "[a][b][c]", "pieces trimmed"},
        {",a,,b,", true, false, "[][a][][b][]", "empty pieces kept"},
        {",a,,b,", false, false, "[a][b]", "empty pieces dropped"},
        {"a, ,b", false, true, "[a][b]", "empty once trimmed"},
        {"a, ,b", false, false, "[a][ ][b]", "a blank is not empty"},
        {"abc", true, false, "[abc]", "no separator"},
        {"", true, false, "[]", "empty text is one empty piece"},
        {"", false, false, "", "unless dropped"},
        {",", true, false, "[][]", "one separator, two pieces"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(shown(String(c.text).split(',', c.keepEmpty, c.trim)), c.expected) << c.note;
}

TEST(String, ToFirst_CutsAtTheCharacter) {
    EXPECT_EQ(String("mat.color.r").toFirst('.', false), "mat");
    EXPECT_EQ(String("mat.color.r").toFirst('.', true), "mat.");
    EXPECT_EQ(String("mat").toFirst('.', false), "mat");
    EXPECT_EQ(String("mat").toFirst('.', true), "mat");
    EXPECT_EQ(String(".a").toFirst('.', false), "");
    EXPECT_EQ(String().toFirst('.', true), "");
}

TEST(String, PrefixAndSuffix_AreFoundWithAndWithoutCase) {
    const String text("Mat1.color");
    EXPECT_TRUE(text.startsWith("Mat1.", false));
    EXPECT_FALSE(text.startsWith("mat1.", false));
    EXPECT_TRUE(text.startsWith("mat1.", true));
    EXPECT_TRUE(text.startsWith("", false));
    EXPECT_FALSE(text.startsWith("Mat1.color.r", true));
    EXPECT_TRUE(text.endsWith(".color", false));
    EXPECT_FALSE(text.endsWith(".COLOR", false));
    EXPECT_TRUE(text.endsWith(".COLOR", true));
    EXPECT_TRUE(text.endsWith("Mat1.color", false));
    EXPECT_TRUE(text.endsWith("mat1.COLOR", true));
    EXPECT_FALSE(text.endsWith("aMat1.color", true));
    EXPECT_FALSE(String().endsWith("x", true));
}

TEST(String, Contains_FindsPartsWithAndWithoutCase) {
    EXPECT_TRUE(String("one two").contains("e t", false));
    EXPECT_FALSE(String("one two").contains("E T", false));
    EXPECT_TRUE(String("one two").contains("E T", true));
    EXPECT_TRUE(String("one").contains("", true));
    EXPECT_FALSE(String("one").contains("ones", true));
}

TEST(String, Find_AnswersPositions) {
    const String text("a.b.c");
    EXPECT_EQ(text.find("."), 1u);
    EXPECT_EQ(text.find('.', 2), 3u);
    EXPECT_EQ(text.findLast('.'), 3u);
    EXPECT_EQ(text.find("x"), String::npos);
    EXPECT_EQ(text.find("a", 99), String::npos);
    EXPECT_EQ(text.find(String("b.c")), 2u);
}

TEST(String, Substr_StopsAtTheEnd) {
    const String text("abcdef");
    EXPECT_EQ(text.substr(2, 2), "cd");
    EXPECT_EQ(text.substr(4, 99), "ef");
    EXPECT_EQ(text.substr(99), "");
    EXPECT_EQ(text.substr(1, 0), "");
}
