#include "kelvo/base/string_vector.h"

#include <gtest/gtest.h>

#include <utility>

using namespace qv;

TEST(StringVector, Layout_IsAHandle) {
    EXPECT_EQ(sizeof(StringVector), 2 * sizeof(void*));
}

TEST(StringVector, Default_IsEmpty) {
    StringVector list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.size(), 0u);
    EXPECT_EQ(list.begin(), list.end());
    EXPECT_EQ(std::as_const(list).begin(), std::as_const(list).end());
}

TEST(StringVector, InitializerList_KeepsOrder) {
    const StringVector list{"a", "b", "c"};
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0], "a");
    EXPECT_EQ(list[2], "c");
    EXPECT_TRUE(StringVector(std::initializer_list<String>{}).empty());
}

TEST(StringVector, Elements_AreContiguous) {
    const StringVector list{"a", "b", "c"};
    EXPECT_EQ(list.end() - list.begin(), 3);
    EXPECT_EQ(list.begin()[1], "b");
}

TEST(StringVector, Copy_SharesTheList) {
    const StringVector list{"a", "b"};
    const StringVector copy(list);
    EXPECT_EQ(copy.begin(), list.begin());
    EXPECT_EQ(list[0].get()->refCount(), 1);
}

TEST(StringVector, PushBack_OnASharedList_LeavesTheOthers) {
    StringVector list{"a"};
    const StringVector copy(list);
    list.push_back("b");
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(copy.size(), 1u);
    EXPECT_EQ(list[0].buf(), copy[0].buf());
}

TEST(StringVector, PushBack_OnItsOwnElement_KeepsItsText) {
    StringVector list{"a"};
    for (int i = 0; i < 10; ++i)
        list.push_back(list[0]);
    EXPECT_EQ(list.size(), 11u);
    EXPECT_EQ(list[10], "a");
}

TEST(StringVector, ChangingElements_OnASharedList_LeavesTheOthers) {
    StringVector list{"a", "b"};
    const StringVector copy(list);
    for (String& item : list)
        item = item + "!";
    EXPECT_EQ(list.join(""), "a!b!");
    EXPECT_EQ(copy.join(""), "ab");
}

TEST(StringVector, Join_PutsTheSeparatorBetween) {
    struct Case {
        StringVector list;
        const char* separator;
        const char* expected;
    };
    const Case cases[] = {
        {{}, ", ", ""},         {{"a"}, ", ", "a"}, {{"a", "b", "c"}, ", ", "a, b, c"},
        {{"", ""}, ", ", ", "}, {{"", ""}, "", ""}, {{"a", "b"}, "", "ab"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.list.join(c.separator), c.expected) << c.expected;
}

TEST(StringVector, Contains_ComparesAsTheFlagSays) {
    const StringVector list{"xform", "Material"};
    EXPECT_TRUE(list.contains("xform", false));
    EXPECT_FALSE(list.contains("material", false));
    EXPECT_TRUE(list.contains("material", true));
    EXPECT_FALSE(list.contains("mat", true));
    EXPECT_FALSE(StringVector().contains("", true));
    EXPECT_EQ(list.indexOf("MATERIAL", true), 1u);
    EXPECT_EQ(list.indexOf("MATERIAL", false), noIndex);
}

TEST(StringVector, Equality_ComparesElementsInOrder) {
    const StringVector list{"a", "b"};
    EXPECT_EQ(list, (StringVector{"a", "b"}));
    EXPECT_NE(list, (StringVector{"b", "a"}));
    EXPECT_NE(list, (StringVector{"a"}));
    EXPECT_EQ(StringVector(), StringVector(std::initializer_list<String>{}));
}

TEST(StringVector, Clear_LeavesSharers) {
    StringVector list{"a"};
    const StringVector copy(list);
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(copy.size(), 1u);
}
