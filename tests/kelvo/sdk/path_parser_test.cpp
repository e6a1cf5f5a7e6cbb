#include "kelvo/sdk/path_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

// Writes tokens as "name", "#3" for an element and "#+" for a new one, separated by blanks.
std::string tokensOf(const char* path) {
    std::string text;
    for (const PathParser::Token& token : PathParser::parsePath(path)) {
        if (!text.empty()) text += ' ';
        if (token.index == -1)
            text += token.text.buf();
        else
            text += token.index < 0 ? "#+" : "#" + std::to_string(token.index);
    }
    return text;
}

struct Case {
    const char* path;
    const char* expected;
    const char* note;
};

constexpr Case kPaths[] = {
    {"node", "node", "one step"},
    {"node.color", "node color", "two steps"},
    {"node.a.b.c", "node a b c", "members of members"},
    {"node.arr[3]", "node arr #3", "element"},
    {"node.arr[+]", "node arr #+", "new element"},
    {"node.arr[0].m", "node arr #0 m", "member of an element"},
    {"node.arr[1][2]", "node arr #1 #2", "element of an element"},
    {"node[2].x", "node #2 x", "element of the first step"},
    {"_n.A_1", "_n A_1", "underscores and digits"},
    {"_", "_", "an underscore alone"},
    {"A", "A", "a letter alone"},
    {"n._1", "n _1", "digit behind an underscore"},
    {"NODE.Color", "NODE Color", "case stays"},
    {"n.a[10]", "n a #10", "zero at the end"},
    {"n.a[+][+].m", "n a #+ #+ m", "new element of a new element"},
    {"n.a[0].b[1].c[2]", "n a #0 b #1 c #2", "members and elements by turns"},
    {"n.a[1048575]", "n a #1048575", "the greatest index"},
    {"", "", "empty"},
    {" ", "", "a blank alone"},
    {".", "", "nothing on both sides"},
    {"node.", "", "nothing behind the separator"},
    {".color", "", "nothing before it"},
    {"node..color", "", "nothing between two"},
    {"..", "", "separators alone"},
    {"a..", "", "two separators at the end"},
    {"1", "", "a digit alone"},
    {"node.1x", "", "digit first"},
    {"1x.a", "", "digit first in the first step"},
    {"node.a b", "", "blank"},
    {" node", "", "blank first"},
    {"node ", "", "blank last"},
    {"node .a", "", "blank before the separator"},
    {"node. a", "", "blank behind the separator"},
    {"node.a\t", "", "tab"},
    {"node.a\n", "", "new line"},
    {"node-a", "", "hyphen"},
    {"node/a", "", "slash"},
    {"node.$a", "", "dollar"},
    {"node.*", "", "asterisk"},
    {"node.'a'", "", "quotes"},
    {"a]", "", "closing bracket alone"},
    {"a]b", "", "closing bracket in a name"},
    {"[", "", "open bracket alone"},
    {"[].a", "", "brackets first"},
    {"node.arr[", "", "open bracket"},
    {"node.arr[]", "", "no index"},
    {"node.arr[3", "", "no closing bracket"},
    {"node.arr[+", "", "no closing bracket behind the plus"},
    {"node.arr[3.m", "", "name where the bracket should close"},
    {"node.arr[3.m]", "", "name between the brackets"},
    {"node.arr[[3]]", "", "doubled brackets"},
    {"node.arr[3]]", "", "closed twice"},
    {"node.arr[3][", "", "opened again"},
    {"node.arr[3].[4]", "", "separator before a bracket"},
    {"node.arr[3]+", "", "plus behind the bracket"},
    {"node.arr]3[", "", "brackets the wrong way round"},
    {"node.arr[-1]", "", "negative index"},
    {"node.arr[-2]", "", "the number of the append step"},
    {"node.arr[-0]", "", "negative zero"},
    {"node.arr[-]", "", "minus alone"},
    {"node.arr[+1]", "", "signed index"},
    {"node.arr[++]", "", "two pluses"},
    {"node.arr[01]", "", "leading zero"},
    {"node.arr[00]", "", "two zeros"},
    {"node.arr[0x1]", "", "hexadecimal index"},
    {"node.arr[1e3]", "", "exponent"},
    {"node.arr[1.0]", "", "fraction"},
    {"node.arr[m]", "", "name as index"},
    {"node.arr['m']", "", "text as index"},
    {"node.arr[*]", "", "all elements"},
    {"node.arr[1:2]", "", "range"},
    {"node.arr[3x]", "", "letter in the index"},
    {"node.arr[ 3]", "", "blank in the index"},
    {"node.arr[3 ]", "", "blank behind the index"},
    {"node.arr [3]", "", "blank before the bracket"},
    {"node.arr[3] ", "", "blank behind the bracket"},
    {"node.arr[3]x", "", "text behind the bracket"},
    {"node.arr[3].", "", "nothing behind the separator"},
    {"node.[3]", "", "element of nothing"},
    {"[3]", "", "element first"},
    {"n.a[1048576]", "", "beyond the greatest index"},
    {"n.a[4294967296]", "", "beyond 32 bits"},
    {"n.a[9223372036854775807]", "", "the greatest signed number"},
    {"n.a[9223372036854775808]", "", "beyond the greatest signed number"},
    {"n.a[18446744073709551616]", "", "beyond 64 bits, 0 without what is beyond"},
    {"n.a[99999999999999999999]", "", "beyond 64 bits"},
    {"n\xc3\xb6.a", "", "letter beyond ASCII"},
    {"n.\xe8\x89\xb2", "", "name beyond ASCII"},
    {"n.a[\xef\xbc\x93]", "", "digit beyond ASCII"},
    {"\xef\xbb\xbfn.a", "", "byte order mark"},
    {"n.a\xff", "", "no UTF-8"},
};

TEST(PathParser, Paths_AreCutIntoStepsOrNone) {
    for (const Case& c : kPaths)
        EXPECT_EQ(tokensOf(c.path), c.expected) << c.path << ": " << c.note;
}

TEST(PathParser, EveryToken_HasAuxZero) {
    for (const PathParser::Token& token : PathParser::parsePath("node.arr[3][+].m"))
        EXPECT_EQ(token.aux, 0u);
}

TEST(PathParser, MemberSteps_AlwaysHaveANameAndIndexMinusOne) {
    const ds::Vector<PathParser::Token> tokens = PathParser::parsePath("node.arr[0].m");
    ASSERT_EQ(tokens.size(), 4u);
    for (const u64 member : {u64(0), u64(1), u64(3)}) {
        EXPECT_EQ(tokens[member].index, -1);
        EXPECT_FALSE(tokens[member].text.isEmpty());
    }
    EXPECT_EQ(tokens[2].index, 0);
}

TEST(PathParser, AppendStep_IsNegativeAndNoMemberStep) {
    const ds::Vector<PathParser::Token> tokens = PathParser::parsePath("node.arr[+]");
    ASSERT_EQ(tokens.size(), 3u);
    EXPECT_EQ(tokens[2].index, PathParser::appendIndex);
    EXPECT_LT(PathParser::appendIndex, -1);
}

// ---- Long texts ----------------------------------------------------------------------------

std::string repeated(const char* text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

constexpr int kMillion = 1'000'000;

TEST(PathParser, TextWithANul_IsMalformed) {
    EXPECT_TRUE(PathParser::parsePath(String(std::string_view("n.a\0b", 5))).empty());
    EXPECT_TRUE(PathParser::parsePath(String(std::string_view("n.a\0", 4))).empty());
    EXPECT_TRUE(PathParser::parsePath(String(std::string_view("n.a[1\0]", 7))).empty());
    EXPECT_TRUE(PathParser::parsePath(String(std::string_view("\0", 1))).empty());
}

TEST(PathParser, MillionMembers_AreRead) {
    EXPECT_EQ(PathParser::parsePath(String("n" + repeated(".a", kMillion))).size(), kMillion + 1u);
}

TEST(PathParser, MillionElements_AreRead) {
    const auto tokens = PathParser::parsePath(String("n" + repeated("[0]", kMillion)));
    ASSERT_EQ(tokens.size(), kMillion + 1u);
    EXPECT_EQ(tokens.back().index, 0);
}

TEST(PathParser, NameOfAMillionLetters_IsOneStep) {
    const auto tokens = PathParser::parsePath(String(repeated("a", kMillion)));
    ASSERT_EQ(tokens.size(), 1u);
    EXPECT_EQ(tokens[0].text.size(), u64(kMillion));
}

TEST(PathParser, MillionSteps_AreNoneWhenTheLastIsMalformed) {
    EXPECT_TRUE(PathParser::parsePath(String("n" + repeated(".a", kMillion) + ".")).empty());
    EXPECT_TRUE(PathParser::parsePath(String("n" + repeated("[0]", kMillion) + "]")).empty());
}

TEST(PathParser, MillionOfOneCharacter_AreMalformed) {
    for (const char* character : {"[", "]", ".", "+", "-", "0", " "})
        EXPECT_TRUE(PathParser::parsePath(String("n." + repeated(character, kMillion))).empty())
            << character;
}

TEST(PathParser, IndexOfAMillionDigits_IsMalformed) {
    EXPECT_TRUE(PathParser::parsePath(String("n[" + repeated("9", kMillion) + "]")).empty());
}

} // namespace
} // namespace qv::kelvo_sdk
