#include "kelvo/base/string.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

using namespace qv;

TEST(String, Layout_IsAHandle) {
    EXPECT_EQ(sizeof(String), 2 * sizeof(void*));
    EXPECT_TRUE((std::is_base_of_v<RefersTo<StringBuffer>, String>));
}

TEST(String, Default_IsEmpty) {
    const String text;
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(text.size(), 0u);
    EXPECT_STREQ(text.buf(), "");
    EXPECT_EQ(text.begin(), text.end());
}

TEST(String, TextWithLengthZero_KeepsTheWholeText) {
    const String text("whole literal", 0);
    EXPECT_STREQ(text.buf(), "whole literal");
    EXPECT_EQ(text.length(), 13u);
}

TEST(String, TextWithLength_KeepsThatManyBytes) {
    const String text("a\0bcd", 3);
    EXPECT_EQ(text.view(), std::string_view("a\0b", 3));
    EXPECT_EQ(text.buf()[3], '\0');
}

TEST(String, NullText_IsEmpty) {
    EXPECT_TRUE(String(nullptr).isEmpty());
    EXPECT_TRUE(String(nullptr, 5).isEmpty());
    EXPECT_TRUE(String("").isEmpty());
}

TEST(String, EmptyView_IsEmpty) {
    EXPECT_TRUE(String(std::string_view("abc", 0)).isEmpty());
}

TEST(String, Character_IsAOneCharacterText) {
    EXPECT_STREQ(String('.').buf(), ".");
    EXPECT_EQ(String('\0').size(), 1u);
}

TEST(String, BufferThatNoMemoryHolds_ThrowsBadAlloc) {
    for (const u64 length : {noIndex - StringBuffer::headerSize, noIndex})
        EXPECT_THROW((void)StringBuffer::create(length), std::bad_alloc);
}

TEST(String, Copy_SharesTheBuffer) {
    const String text("shared");
    const String copy(text);
    EXPECT_EQ(copy.buf(), text.buf());
    EXPECT_EQ(text.get()->refCount(), 2);
}

TEST(String, Move_LeavesTheSourceEmpty) {
    String text("moved");
    const char* const buf = text.buf();
    const String moved(std::move(text));
    EXPECT_EQ(moved.buf(), buf);
    EXPECT_TRUE(text.isEmpty()); // NOLINT(bugprone-use-after-move): empty by contract
    EXPECT_EQ(moved.get()->refCount(), 1);
}

TEST(String, Buf_IsValidWhileACopyLives) {
    String copy;
    {
        const String text("kept");
        copy = text;
    }
    EXPECT_STREQ(copy.buf(), "kept");
}

TEST(String, Format_WritesLikePrintf) {
    EXPECT_EQ(String::format("%s = %d%%", "wood", 7), "wood = 7%");
    EXPECT_TRUE(String::format("%s", "").isEmpty());
}

TEST(String, Format_OfAnyLength_IsComplete) {
    for (const u64 length : {u64{254}, u64{255}, u64{256}, u64{257}, u64{100000}}) {
        const std::string text(length, 'x');
        EXPECT_EQ(String::format("%s", text.c_str()), std::string_view(text)) << length;
    }
}

TEST(String, Format_WithEmptyString_PrintsNothingForIt) {
    EXPECT_EQ(String::format("'%s'", String().buf()), "''");
}

TEST(String, Equality_ComparesTheTexts) {
    const String a("lamp");
    const String same(std::string_view("lamp"));
    EXPECT_TRUE(a == same);
    EXPECT_TRUE(a == "lamp");
    EXPECT_TRUE("lamp" == a);
    EXPECT_TRUE(a == std::string_view("lamp"));
    EXPECT_FALSE(a == "Lamp");
    EXPECT_TRUE(a != String("lam"));
    EXPECT_TRUE(String() == "");
    EXPECT_TRUE(String() == nullptr);
    EXPECT_FALSE(a == nullptr);
}

TEST(String, Equality_SeesBytesBehindANul) {
    EXPECT_FALSE(String("a\0b", 3) == String("a\0c", 3));
    EXPECT_FALSE(String("a\0b", 3) == "a");
}

TEST(String, Order_IsThatOfUnsignedBytes) {
    EXPECT_LT(String("a"), String("b"));
    EXPECT_LT(String("a"), "ab");
    EXPECT_LT(String("z"), String("\xc3\xa9"));
    EXPECT_GT(String("b"), std::string_view("a"));
    EXPECT_LT(String("B").compare("a"), 0);
    EXPECT_EQ(String("a").compare("a"), 0);
    EXPECT_GT(String("a").compare(""), 0);
}

TEST(String, CompareNoCase_OrdersByLowerCase) {
    struct Case {
        const char* a;
        const char* b;
        int sign;
        const char* note;
    };
    const Case cases[] = {
        {"", "", 0, "both empty"},
        {"COLOR", "color", 0, "case differs"},
        {"Color8Bits_x", "cOLOR8bITS_X", 0, "longer than a word"},
        {"color", "colour", -1, "first difference decides"},
        {"color", "colo", 1, "longer is greater"},
        {"", "a", -1, "empty is least"},
        {"[", "A", -1, "'[' stands before 'a' though behind 'A'"},
        {"@a", "`a", -1, "only letters fold"},
        {"\xc3\x84", "\xc3\xa4", -1, "bytes outside ASCII stay"},
    };
    for (const Case& c : cases) {
        const int result = String(c.a).compareNoCase(c.b);
        const int sign = result < 0 ? -1 : result > 0 ? 1 : 0;
        EXPECT_EQ(sign, c.sign) << c.note;
        EXPECT_EQ(String(c.a).equalsNoCase(String(c.b)), c.sign == 0) << c.note;
        EXPECT_EQ(String(c.a).equalsNoCase(c.b), c.sign == 0) << c.note;
    }
}

TEST(String, IsSimpleCID_AcceptsIdentifiersOnly) {
    struct Case {
        const char* text;
        bool simple;
    };
    const Case cases[] = {
        {"a", true},   {"_", true},    {"_meta", true}, {"Diffuse2", true}, {"", false},
        {"2d", false}, {"a b", false}, {"a.b", false},  {"a-b", false},     {"gr\xc3\xbcn", false},
        {" a", false}, {"a\n", false}};
    for (const Case& c : cases)
        EXPECT_EQ(String(c.text).isSimpleCID(), c.simple) << '\'' << c.text << '\'';
    EXPECT_FALSE(String("a\0b", 3).isSimpleCID());
}

TEST(String, Hash_IsThatOfTheText) {
    EXPECT_EQ(String("radius").hash(), String(std::string_view("radius")).hash());
    EXPECT_NE(String("radius").hash(), String("Radius").hash());
    EXPECT_EQ(String().hash(), String("").hash());
    EXPECT_NE(String().hash(), 0u);
}

TEST(String, FoldedHash_IsSharedByTextsEqualWithoutCase) {
    const char* const names[] = {"a", "Roughness", "baseColorTexture", "x_1", "A\xc3\x84z[@`{"};
    for (const char* name : names) {
        const String text(name);
        EXPECT_EQ(text.foldedHash(), text.toUpper().foldedHash()) << name;
        EXPECT_EQ(text.foldedHash(), text.toLower().hash()) << name;
    }
    EXPECT_NE(String("a").foldedHash(), String("b").foldedHash());
}

TEST(String, FoldedHash_OfLongTexts_IgnoresCaseToo) {
    for (u64 length = 0; length < 300; ++length) {
        const String lower{std::string(length, 'q')};
        EXPECT_EQ(lower.foldedHash(), lower.toUpper().foldedHash()) << length;
        EXPECT_EQ(lower.foldedHash(), lower.hash()) << length;
    }
}

TEST(String, Plus_Concatenates) {
    const String a("a");
    EXPECT_EQ(a + String("b"), "ab");
    EXPECT_EQ(a + "b", "ab");
    EXPECT_EQ(a + 'b', "ab");
    EXPECT_EQ("b" + a, "ba");
    EXPECT_EQ('b' + a, "ba");
    EXPECT_EQ(a + std::string_view("b"), "ab");
    EXPECT_EQ(std::string_view("b") + a, "ba");
    EXPECT_EQ(a, "a");
}

TEST(String, PlusEmpty_SharesTheOther) {
    const String a("a");
    EXPECT_EQ((a + String()).buf(), a.buf());
    EXPECT_EQ((String() + a).buf(), a.buf());
    EXPECT_EQ((a + nullptr).buf(), a.buf());
    EXPECT_TRUE((String() + "").isEmpty());
}

TEST(String, PlusEquals_ChangesOnlyThisHandle) {
    String a("a");
    const String before(a);
    a += "b";
    EXPECT_EQ(a, "ab");
    EXPECT_EQ(before, "a");
    a += a;
    EXPECT_EQ(a, "abab");
}

TEST(String, Iteration_VisitsEachByte) {
    std::string seen;
    for (const char c : String("abc"))
        seen += c;
    EXPECT_EQ(seen, "abc");
    EXPECT_EQ(String("abc")[1], 'b');
    EXPECT_EQ(String("abc")[3], '\0');
}

TEST(String, StandardContainers_TakeItAsKey) {
    const std::unordered_set<String> set{"a", "b", "a"};
    EXPECT_EQ(set.size(), 2u);
    const std::map<String, int> map{{"b", 2}, {"a", 1}};
    EXPECT_EQ(map.begin()->first, "a");
    EXPECT_EQ(std::hash<String>()("a"), String("a").hash());
}

TEST(String, Stream_GetsTheText) {
    std::ostringstream out;
    out << String("text") << String();
    EXPECT_EQ(out.str(), "text");
}

TEST(String, SharedText_MayBeUsedByAllThreads) {
    const String text("shared by threads");
    const u64 hash = String("shared by threads").hash();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([copy = text, hash] {
            for (int i = 0; i < 1000; ++i) {
                const String own(copy);
                ASSERT_EQ(own.hash(), hash);
                ASSERT_NE(own.foldedHash(), 0u);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(text.get()->refCount(), 1);
}
