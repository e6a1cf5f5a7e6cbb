#include "kelvo/sdk/impl/search/wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(Wildcard, PathFault_NamesReasonAndPlace) {
    const struct {
        const char* pattern;
        const char* reason;
        u64 at;
    } cases[] = {
        {"", "nothing", 0},
        {".a", "an empty step", 0},
        {"a..b", "an empty step", 1},
        {"ab.", "an empty step", 2},
        {"a***", "more than two '*' in a row", 1},
        {"a[1", "'[' without ']'", 1},
        {"ab]", "']' without '['", 2},
        {"a.[1]", "an element without the array it is in", 2},
        {"a[+]", "'[+]' is for `set` alone", 1},
        {"a[b]", "between '[' and ']' stands a number, '*' or '?'", 1},
        {"a[1]c", "a name right behind ']'", 1},
        {"a b", "a character that no path has", 1},
    };
    for (const auto& each : cases) {
        const Wildcard::Fault fault = Wildcard::pathFault(each.pattern);
        ASSERT_NE(fault.reason, nullptr) << each.pattern;
        EXPECT_STREQ(fault.reason, each.reason);
        EXPECT_EQ(fault.at, each.at) << each.pattern;
    }
}

TEST(Wildcard, PathFault_OfWhatMayMatchIsNone) {
    for (const char* pattern : {"a", "*", "a.**.b", "a[1].b", "a[?]*", "**", "A_1.b[*][0]"})
        EXPECT_EQ(Wildcard::pathFault(pattern).reason, nullptr) << pattern;
}

TEST(Wildcard, OfPath_KeepsToSteps) {
    EXPECT_TRUE(Wildcard::ofPath("a*").matches("ABC"));
    EXPECT_FALSE(Wildcard::ofPath("a*").matches("ab.c"));
    EXPECT_FALSE(Wildcard::ofPath("a?c").matches("a.c"));
    EXPECT_TRUE(Wildcard::ofPath("a**").matches("ab.c[1]"));
    EXPECT_TRUE(Wildcard::ofPath("a.**.b").matches("a.b"));
    EXPECT_FALSE(Wildcard::ofPath("a.**b").matches("ab"));
}

TEST(Wildcard, OfText_TakesAnythingForItsSigns) {
    const auto counts = Wildcard::Case::Counts;
    EXPECT_TRUE(Wildcard::ofText("a*", counts).matches("a.b c"));
    EXPECT_FALSE(Wildcard::ofText("a*", counts).matches("A"));
    EXPECT_TRUE(Wildcard::ofText("a*", Wildcard::Case::Ignored).matches("A"));
    EXPECT_TRUE(Wildcard::ofText("\\*", counts).matches("*"));
    EXPECT_FALSE(Wildcard::ofText("\\*", counts).matches("x"));
    EXPECT_TRUE(Wildcard::ofText("a\\", counts).matches("a\\"));
    EXPECT_TRUE(Wildcard::ofText("", counts).matches(""));
    EXPECT_FALSE(Wildcard::ofText("?", counts).matches(""));
}

TEST(Wildcard, TextInPieces_MatchesAsTheWhole) {
    const Wildcard wildcard = Wildcard::ofPath("lamp.**.x[*]");
    Wildcard::Places places = wildcard.start();
    for (const char* piece : {"lamp", ".", "o", ".", "x", "["}) {
        ASSERT_TRUE(wildcard.advance(places, piece));
        EXPECT_FALSE(wildcard.accepts(places));
    }
    ASSERT_TRUE(wildcard.advance(places, "12]"));
    EXPECT_TRUE(wildcard.accepts(places));
}

// Tells in the plainest way whether a text pattern without '\\' matches.
bool matchesPlainly(std::string_view pattern, std::string_view text) {
    std::vector<bool> ends(text.size() + 1);
    ends[0] = true;
    for (const char sign : pattern) {
        std::vector<bool> next(text.size() + 1);
        for (std::size_t i = 0; i <= text.size(); ++i) {
            const bool isReached = i > 0 && (sign == '*' ? next[i - 1] : ends[i - 1]);
            next[i] = sign == '*' ? ends[i] || isReached
                                  : isReached && (sign == '?' || sign == text[i - 1]);
        }
        ends = std::move(next);
    }
    return ends[text.size()];
}

TEST(Wildcard, PatternsOfAnyLength_MatchAsTheyShould) {
    std::mt19937 random(1);
    u64 matches = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        std::string pattern, text;
        const std::size_t length = random() % 150;
        while (pattern.size() < length)
            pattern += "aaab?*"[random() % 6];
        for (const char sign : pattern)
            if (sign != '*' || random() % 2 == 0) text += sign == 'b' && trial % 4 != 0 ? 'b' : 'a';
        const bool expected = matchesPlainly(pattern, text);
        matches += expected;
        ASSERT_EQ(Wildcard::ofText(pattern, Wildcard::Case::Counts).matches(text), expected)
            << pattern << '\n'
            << text;
    }
    EXPECT_GT(matches, 300U);
    EXPECT_LT(matches, 2900U);
}

TEST(Wildcard, StepsThatMayBeAbsent_AreSoAtAnyPlace) {
    for (std::size_t before = 1; before < 140; ++before) {
        const std::string start(before, 'a');
        const Wildcard wildcard = Wildcard::ofPath(start + ".**.b");
        EXPECT_TRUE(wildcard.matches(start + ".b")) << before;
        EXPECT_TRUE(wildcard.matches(start + ".x.y.b")) << before;
        EXPECT_FALSE(wildcard.matches(start + ".xb")) << before;
        EXPECT_FALSE(wildcard.matches(start + "b")) << before;
        const Wildcard twice = Wildcard::ofPath(start + ".**.**.b");
        EXPECT_TRUE(twice.matches(start + ".b")) << before;
        EXPECT_TRUE(twice.matches(start + ".x.b")) << before;
        EXPECT_FALSE(twice.matches(start + ".xb")) << before;
    }
}

TEST(Wildcard, WithoutAPattern_MatchesTheEmptyTextAlone) {
    EXPECT_TRUE(Wildcard().matches(""));
    EXPECT_FALSE(Wildcard().matches("a"));
}

TEST(Wildcard, EndsThatCannotMatch_AreRefused) {
    EXPECT_TRUE(Wildcard::ofPath("*.radius").refusesEnd("width"));
    EXPECT_TRUE(Wildcard::ofPath("*.radius").refusesEnd("us"));
    EXPECT_FALSE(Wildcard::ofPath("*.radius").refusesEnd("Radius"));
    EXPECT_FALSE(Wildcard::ofPath("**.?dius").refusesEnd("radius"));
    EXPECT_FALSE(Wildcard::ofPath("a.x*").refusesEnd("b"));
    EXPECT_FALSE(Wildcard::ofPath("a.x[3]").refusesEnd("b"));
}

TEST(Wildcard, TextThatCannotMatchAnyMore_IsReported) {
    const Wildcard wildcard = Wildcard::ofPath("lamp.x");
    Wildcard::Places places = wildcard.start();
    EXPECT_FALSE(wildcard.advance(places, "lump"));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
