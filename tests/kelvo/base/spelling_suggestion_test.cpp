#include "kelvo/base/spelling_suggestion.h"

#include <gtest/gtest.h>

#include <string>

namespace qv {
namespace {

struct NearCase {
    const char* wanted;
    const char* expected;
    const char* note;
};

class SpellingSuggestionOfKinds : public testing::TestWithParam<NearCase> {};

TEST_P(SpellingSuggestionOfKinds, Best) {
    SpellingSuggestion near(GetParam().wanted);
    for (const char* known : {"Real", "Rgba", "Array", "Buffer", "children", "x"})
        near.offer(known);
    EXPECT_EQ(near.best(), GetParam().expected) << GetParam().note;
}

const NearCase kNear[] = {
    {"Real", "Real", "the name itself"},
    {"Reel", "Real", "a letter replaced"},
    {"Rel", "Real", "a letter left out"},
    {"Reall", "Real", "a letter added"},
    {"xxRea", "", "letters added in front count too"},
    {"Rael", "Real", "letters exchanged"},
    {"Eral", "Real", "the first letters exchanged"},
    {"Raol", "", "one letter at the other's place"},
    {"Roel", "", "the other letter at the one's place"},
    {"REAL", "Real", "the other case"},
    {"Roil", "", "two letters replaced side by side"},
    {"Aray", "Array", "a letter left out"},
    {"chidlern", "children", "two edits in a long name"},
    {"chidlr", "", "more edits than its length bears"},
    {"xyzldern", "", "letters exchanged are one edit beside others"},
    {"Bool", "", "nothing alike"},
    {"y", "", "one letter is like any other"},
    {"X", "x", "but for its case"},
    {"", "", "nothing is like nothing"},
};
INSTANTIATE_TEST_SUITE_P(Table, SpellingSuggestionOfKinds, testing::ValuesIn(kNear));

TEST(SpellingSuggestion, Best_OfEquallyNearNames_IsTheFirst) {
    SpellingSuggestion near("lamp");
    near.offer("lump");
    near.offer("limp");
    EXPECT_EQ(near.best(), "lump");
}

TEST(SpellingSuggestion, Offer_ANearerNameLater_Wins) {
    for (const char* first : {"chiidrem", "xhildern"}) {
        SpellingSuggestion near("children");
        near.offer(first);
        EXPECT_EQ(near.best(), first);
        near.offer("childrem");
        EXPECT_EQ(near.best(), "childrem");
    }
}

TEST(SpellingSuggestion, Question_EndsTheSentence) {
    SpellingSuggestion near("Reel");
    EXPECT_EQ(near.question().view(), ".");
    near.offer("Real");
    EXPECT_EQ(near.question().view(), ": did you mean 'Real'?");
}

TEST(SpellingSuggestion, Offer_NamesOfAnyLength_AreSafe) {
    const std::string wanted(64, 'a');
    SpellingSuggestion near(wanted);
    near.offer(std::string(65, 'a'));
    EXPECT_EQ(near.best(), "");
    const std::string known = std::string(63, 'a') + "b";
    near.offer(known);
    EXPECT_EQ(near.best(), known);
    const std::string endless(1000, 'a');
    SpellingSuggestion longer(endless);
    longer.offer(endless);
    EXPECT_EQ(longer.best(), "");
}

} // namespace
} // namespace qv
