#include "kelvo/sdk/path_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

PathParser::Token token(const char* text, u64 aux, i64 index) {
    PathParser::Token made;
    made.text = text;
    made.aux = aux;
    made.index = index;
    return made;
}

void expectDefault(const PathParser::Token& token) {
    EXPECT_EQ(token.text.get(), nullptr);
    EXPECT_EQ(token.aux, 0u);
    EXPECT_EQ(token.index, -1);
}

TEST(PathToken, Default_IsAMemberStepWithoutAName) {
    expectDefault(PathParser::Token());
}

TEST(PathToken, Fields_StandInTheirOrder) {
    const auto [text, aux, index] = token("arr", 7, -9);
    EXPECT_EQ(text, "arr");
    EXPECT_EQ(aux, 7u);
    EXPECT_EQ(index, -9);
    static_assert(sizeof(PathParser::Token) == sizeof(String) + 2 * sizeof(u64));
}

TEST(PathToken, Copy_SharesTheTextAndHasBothWords) {
    const PathParser::Token original = token("arr", 7, -9);
    const PathParser::Token copy = original; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.text.get(), original.text.get());
    EXPECT_EQ(original.text.get()->refCount(), 2);
    EXPECT_EQ(copy.aux, 7u);
    EXPECT_EQ(copy.index, -9);
}

TEST(PathToken, Assignment_SharesTheTextAndLetsTheOldOneGo) {
    const String old("old");
    PathParser::Token target;
    target.text = old;
    const PathParser::Token source = token("arr", 7, -9);
    target = source;
    EXPECT_EQ(target.text.get(), source.text.get());
    EXPECT_EQ(target.aux, 7u);
    EXPECT_EQ(target.index, -9);
    EXPECT_EQ(old.get()->refCount(), 1);
}

// ---- Token taken out of a vector -----------------------------------------------------------

using Tokens = ds::Vector<PathParser::Token>;

std::string textsOf(const Tokens& tokens) {
    std::string texts;
    for (const PathParser::Token& token : tokens)
        texts += token.text.buf();
    return texts;
}

TEST(TokenVector, Extract_TakesOneOutAndKeepsTheOrder) {
    const char* const left[] = {"bc", "ac", "ab"};
    for (u64 i = 0; i < 3; ++i) {
        Tokens tokens = PathParser::parsePath("a.b.c");
        const PathParser::Token taken = tokens.extract(i);
        EXPECT_EQ(taken.text, PathParser::parsePath("a.b.c")[i].text);
        EXPECT_EQ(tokens.size(), 2u);
        EXPECT_EQ(textsOf(tokens), left[i]);
    }
}

TEST(TokenVector, Extract_GivesAllThreeFields) {
    Tokens tokens{token("a", 1, -1), token("b", 2, 5), token("c", 3, -2)};
    const PathParser::Token taken = tokens.extract(1);
    EXPECT_EQ(taken.text, "b");
    EXPECT_EQ(taken.aux, 2u);
    EXPECT_EQ(taken.index, 5);
    EXPECT_EQ(tokens[1].text, "c");
    EXPECT_EQ(tokens[1].aux, 3u);
    EXPECT_EQ(tokens[1].index, -2);
}

TEST(TokenVector, Extract_LeavesADefaultTokenBehindAndKeepsTheStorage) {
    Tokens tokens{token("a", 1, 2), token("b", 3, 4), token("c", 5, 6)};
    const u64 capacity = tokens.capacity();
    const PathParser::Token* storage = tokens.data();
    static_cast<void>(tokens.extract(0));
    EXPECT_EQ(tokens.capacity(), capacity);
    EXPECT_EQ(tokens.data(), storage);
    expectDefault(tokens.data()[2]);
}

TEST(TokenVector, Extract_LetsGoOfTheTextWithTheResult) {
    const String first("first"), last("last");
    Tokens tokens;
    tokens.push_back({first, 0, -1});
    tokens.push_back({last, 0, -1});
    static_cast<void>(tokens.extract(0));
    EXPECT_EQ(first.get()->refCount(), 1);
    EXPECT_EQ(last.get()->refCount(), 2);
    static_cast<void>(tokens.extract(0));
    EXPECT_EQ(last.get()->refCount(), 1);
}

TEST(TokenVector, ExtractOfTheOnlyToken_LeavesNoneAndTheStorage) {
    Tokens tokens = PathParser::parsePath("a");
    const u64 capacity = tokens.capacity();
    EXPECT_EQ(tokens.extract(0).text, "a");
    EXPECT_TRUE(tokens.empty());
    EXPECT_EQ(tokens.capacity(), capacity);
    expectDefault(tokens.data()[0]);
}

// The index is not checked: no token moves, but the last one is removed.
TEST(TokenVector, ExtractBehindTheCount_TakesTheLastAway) {
    Tokens tokens = PathParser::parsePath("a.b");
    tokens.reserve(4);
    expectDefault(tokens.extract(2));
    ASSERT_EQ(tokens.size(), 1u);
    EXPECT_EQ(tokens[0].text, "a");
    expectDefault(tokens.data()[1]);
}

} // namespace
} // namespace qv::kelvo_sdk
