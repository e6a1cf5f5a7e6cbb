#include "sdk/path_parser.h"

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
    {"n.a[1048575]", "n a #1048575", "the greatest index"},
    {"", "", "empty"},
    {".", "", "nothing on both sides"},
    {"node.", "", "nothing behind the separator"},
    {".color", "", "nothing before it"},
    {"node..color", "", "nothing between two"},
    {"node.1x", "", "digit first"},
    {"node.a b", "", "blank"},
    {" node", "", "blank first"},
    {"node.arr[", "", "open bracket"},
    {"node.arr[]", "", "no index"},
    {"node.arr[3", "", "no closing bracket"},
    {"node.arr]3[", "", "brackets the wrong way round"},
    {"node.arr[-1]", "", "negative index"},
    {"node.arr[+1]", "", "signed index"},
    {"node.arr[03]", "", "leading zero"},
    {"node.arr[3x]", "", "letter in the index"},
    {"node.arr[ 3]", "", "blank in the index"},
    {"node.arr[3]x", "", "text behind the bracket"},
    {"node.arr[3].", "", "nothing behind the separator"},
    {"node.[3]", "", "element of nothing"},
    {"[3]", "", "element first"},
    {"n.a[1048576]", "", "beyond the greatest index"},
    {"n.a[99999999999999999999]", "", "beyond 64 bits"},
    {"n\xc3\xb6.a", "", "letter beyond ASCII"},
};

TEST(PathParser, Paths_AreCutIntoStepsOrNone) {
    for (const Case& c : kPaths)
        EXPECT_EQ(tokensOf(c.path), c.expected) << c.path << ": " << c.note;
}

TEST(PathParser, DefaultToken_IsAMemberStepWithoutAName) {
    const PathParser::Token token;
    EXPECT_TRUE(token.text.isEmpty());
    EXPECT_EQ(token.aux, 0u);
    EXPECT_EQ(token.index, -1);
}

TEST(PathParser, TextWithANul_IsMalformed) {
    EXPECT_TRUE(PathParser::parsePath(String(std::string_view("n.a\0b", 5))).empty());
}

TEST(PathParser, MillionSteps_AreRead) {
    std::string path = "n";
    for (int i = 0; i < 1'000'000; ++i)
        path += ".a";
    EXPECT_EQ(PathParser::parsePath(String(path)).size(), 1'000'001u);
}

TEST(PathParser, MillionOpenBrackets_AreMalformed) {
    EXPECT_TRUE(PathParser::parsePath(String("n" + std::string(1'000'000, '['))).empty());
}

TEST(TokenVector, Extract_TakesOneOutAndKeepsTheOrder) {
    ds::Vector<PathParser::Token> tokens = PathParser::parsePath("a.b.c");
    const PathParser::Token first = tokens.extract(0);
    EXPECT_STREQ(first.text.buf(), "a");
    ASSERT_EQ(tokens.size(), 2u);
    EXPECT_STREQ(tokens[0].text.buf(), "b");
    EXPECT_STREQ(tokens[1].text.buf(), "c");
}

TEST(TokenVector, Extract_LeavesADefaultTokenBehindAndKeepsTheStorage) {
    ds::Vector<PathParser::Token> tokens = PathParser::parsePath("a.b[3]");
    const u64 capacity = tokens.capacity();
    static_cast<void>(tokens.extract(0));
    EXPECT_EQ(tokens.capacity(), capacity);
    const PathParser::Token& vacated = tokens.data()[2];
    EXPECT_TRUE(vacated.text.isEmpty());
    EXPECT_EQ(vacated.index, -1);
}

} // namespace
} // namespace qv::kelvo_sdk
