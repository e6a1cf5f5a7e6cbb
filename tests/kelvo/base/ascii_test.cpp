#include "kelvo/base/ascii.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace qv;

TEST(Ascii, WordInLowerCase_IsThatOfEachByte) {
    for (int c = 0; c < 256; ++c) {
        for (u64 at = 0; at < 8; ++at) {
            unsigned char bytes[8] = {'A', 'z', 0x80, 0xff, '@', '[', 0, 'Z'};
            bytes[at] = static_cast<unsigned char>(c);
            u64 word;
            std::memcpy(&word, bytes, 8);
            word = ascii::toLower(word);
            unsigned char folded[8];
            std::memcpy(folded, &word, 8);
            for (u64 i = 0; i < 8; ++i)
                ASSERT_EQ(static_cast<char>(folded[i]),
                          ascii::toLower(static_cast<char>(bytes[i])));
        }
    }
}

TEST(Ascii, Classes_HoldAsciiOnly) {
    std::string spaces, letters, digits;
    for (int c = 0; c < 256; ++c) {
        const char byte = static_cast<char>(c);
        if (ascii::isSpace(byte)) spaces += byte;
        if (ascii::isLetter(byte)) letters += byte;
        if (ascii::isDigit(byte)) digits += byte;
    }
    EXPECT_EQ(spaces, "\t\n\v\f\r ");
    EXPECT_EQ(letters, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    EXPECT_EQ(digits, "0123456789");
}

TEST(Ascii, EqualsNoCase_SeesADifferenceAtEachPlace) {
    for (std::size_t length = 1; length < 40; ++length) {
        const std::string upper(length, 'K');
        const std::string lower(length, 'k');
        EXPECT_TRUE(ascii::equalsNoCase(upper, lower));
        for (std::size_t at = 0; at < length; ++at) {
            std::string other = lower;
            other[at] = 'j';
            ASSERT_FALSE(ascii::equalsNoCase(upper, other)) << length << ' ' << at;
        }
    }
}

TEST(Ascii, CompareNoCase_IsDecidedByTheFirstDifference) {
    for (std::size_t length = 1; length < 30; ++length)
        for (std::size_t at = 0; at < length; ++at) {
            std::string a(length, 'K');
            std::string b(length, 'k');
            b[at] = 'L';
            if (at + 1 < length) a[at + 1] = 'z';
            ASSERT_EQ(ascii::compareNoCase(a, b), -1) << length << ' ' << at;
            ASSERT_EQ(ascii::compareNoCase(b, a), 1) << length << ' ' << at;
        }
}

TEST(Ascii, FindNoCase_AnswersTheFirstAtOrAfter) {
    EXPECT_EQ(ascii::findNoCase("aBcABC", "abc"), 0u);
    EXPECT_EQ(ascii::findNoCase("aBcABC", "abc", 1), 3u);
    EXPECT_EQ(ascii::findNoCase("aBcABC", "abc", 4), noIndex);
    EXPECT_EQ(ascii::findNoCase("ab", "abc"), noIndex);
    EXPECT_EQ(ascii::findNoCase("ab", "", 2), 2u);
    EXPECT_EQ(ascii::findNoCase("ab", "a", 99), noIndex);
}

TEST(Ascii, CompareNoCase_OfABeginning_IsDecidedByTheLengthAlone) {
    EXPECT_EQ(ascii::compareNoCase("ab", "ABc"), -1);
    EXPECT_EQ(ascii::compareNoCase("ABc", "ab"), 1);
    const std::string_view a("abX", 2), b("abY", 2);
    EXPECT_EQ(ascii::compareNoCase(a, b), 0);
    EXPECT_EQ(ascii::compareNoCase(b, a), 0);
}

TEST(Ascii, FindNoCase_FindsAPartAsLongAsTheText) {
    EXPECT_EQ(ascii::findNoCase("abc", "ABC"), 0u);
    EXPECT_EQ(ascii::findNoCase("", ""), 0u);
}
