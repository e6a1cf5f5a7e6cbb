#include "sdk/impl/text_errors.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(TextErrors, Report_IsInTheOrderOfTheText) {
    TextErrors errors("ab\ncd\n", 20);
    errors.add(4, "n", "second");
    errors.add(0, String(), "first");
    Diagnostics told;
    errors.report("file", told);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].text().view(), "file:1:1: first");
    EXPECT_EQ(told[1].text().view(), "file:2:2: node 'n': second");
}

TEST(TextErrors, Report_KeepsWhatWasToldBefore) {
    TextErrors errors("a", 20);
    errors.add(0, String(), "new");
    Diagnostics told;
    told.push_back(Diagnostic());
    errors.report("file", told);
    EXPECT_EQ(told.size(), 2u);
}

TEST(TextErrors, Add_BeyondTheLimit_IsDropped) {
    TextErrors errors("abc", 2);
    EXPECT_TRUE(errors.empty());
    for (u64 offset = 0; offset < 3; ++offset)
        errors.add(offset, String(), "wrong");
    EXPECT_TRUE(errors.full());
    Diagnostics told;
    errors.report("file", told);
    EXPECT_EQ(told.size(), 2u);
}

TEST(TextErrors, Add_AtOnePlace_TheFirstStands) {
    TextErrors errors("abc", 20);
    errors.add(1, String(), "cause");
    errors.add(1, String(), "consequence");
    Diagnostics told;
    errors.report("file", told);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].message.view(), "cause");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
