#include "kelvo/sdk/impl/text/name_pool.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(NamePool, Add_EqualNames_ShareTheirNumber) {
    NamePool names;
    EXPECT_EQ(names.add("a"), 0u);
    EXPECT_EQ(names.add("b"), 1u);
    EXPECT_EQ(names.add("a"), 0u);
    EXPECT_EQ(names.size(), 2u);
    EXPECT_EQ(names.text(1).view(), "b");
}

TEST(NamePool, Add_NamesThatDifferInCase_ShareTheirFoldedNumber) {
    NamePool names;
    const u32 lower = names.add("lamp");
    const u32 upper = names.add("LAMP");
    const u32 mixed = names.add("Lamp");
    const u32 other = names.add("desk");
    EXPECT_NE(lower, upper);
    EXPECT_EQ(names.folded(lower), lower);
    EXPECT_EQ(names.folded(upper), lower);
    EXPECT_EQ(names.folded(mixed), lower);
    EXPECT_EQ(names.folded(other), other);
}

TEST(NamePool, Add_TheEmptyName_IsAName) {
    NamePool names;
    const u32 empty = names.add("");
    EXPECT_EQ(names.add(""), empty);
    EXPECT_NE(names.add("a"), empty);
}

TEST(NamePool, Add_ManyNames_KeepTheirNumbers) {
    NamePool names;
    for (u32 i = 0; i < 5000; ++i)
        ASSERT_EQ(names.add("name" + std::to_string(i)), i);
    for (u32 i = 0; i < 5000; ++i) {
        ASSERT_EQ(names.add("name" + std::to_string(i)), i);
        ASSERT_EQ(names.text(i).view(), "name" + std::to_string(i));
    }
    EXPECT_EQ(names.folded(names.add("NAME4321")), 4321u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
