#include "kelvo/base/equality.h"

#include <gtest/gtest.h>

#include <string>

using namespace qv;

namespace {

// Its operations disagree, so that it shows which of them was asked.
struct Odd {
    int number = 0;

    [[nodiscard]] bool equals(const Odd& other) const { return number == other.number; }
    [[nodiscard]] bool operator==(const Odd&) const { return false; }
    [[nodiscard]] u64 hash() const { return 7; }
};

} // namespace

TEST(Equality, OfATypeWithEquals_IsWhatThatSays) {
    EXPECT_TRUE(sameValue(Odd{1}, Odd{1}));
    EXPECT_FALSE(sameValue(Odd{1}, Odd{2}));
}

TEST(Equality, OfAnyOtherType_IsItsOwn) {
    EXPECT_TRUE(sameValue(std::string("a"), std::string("a")));
    EXPECT_FALSE(sameValue(1, 2));
}

TEST(Equality, HashOfAKey_IsItsOwnOrThatOfTheStandardLibrary) {
    EXPECT_EQ(keyHash(Odd{1}), 7u);
    EXPECT_EQ(keyHash(std::string("abc")), std::hash<std::string>{}("abc"));
}
