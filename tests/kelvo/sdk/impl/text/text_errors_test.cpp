#include "kelvo/sdk/impl/text/text_errors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

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

TEST(TextErrors, NameWithALineBreak_IsReportedOnOneLine) {
    TextErrors errors("a", 20);
    errors.add(0, "n\r\nm", "The name 'n\nm' is no identifier.");
    Diagnostics told;
    errors.report("file", told);
    EXPECT_EQ(told[0].text(), "file:1:1: node 'n  m': The name 'n m' is no identifier.");
}

TEST(TextErrors, Report_KeepsWhatWasReportedBefore) {
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

// ---- Marks of a merge -------------------------------------------------------------------------

std::string toldOf(std::string_view text) {
    TextErrors errors(text, 20);
    errors.add(0, String(), "consequence");
    Diagnostics told;
    errors.report("f", told);
    std::string all;
    for (const Diagnostic& error : told)
        all += error.text().buf() + std::string("\n");
    return all;
}

TEST(TextErrors, Conflicts_AreReportedAlone) {
    const std::string text = "a\n<<<<<<< mine\nb\n||||||| base\n=======\nc\n>>>>>>> theirs\nd\n"
                             "<<<<<<<\r\n=======\r\n>>>>>>>\r\n";
    const std::string settle =
        ": settle it and take out the lines with '<<<<<<<', '=======' and '>>>>>>>'.\n";
    EXPECT_EQ(toldOf(text), "f:2:1: A merge left a conflict here, up to line 7" + settle +
                                "f:9:1: A merge left a conflict here, up to line 11" + settle);
}

TEST(TextErrors, HalfAConflict_IsReportedWhereItsMarkIs) {
    const std::string settle = ": A mark of a merge: settle the conflict and take the line out.\n";
    EXPECT_EQ(toldOf("<<<<<<< mine\na\n"), "f:1:1" + settle);
    EXPECT_EQ(toldOf("a\n>>>>>>> theirs"), "f:2:1" + settle);
    EXPECT_EQ(toldOf("<<<<<<< a\n<<<<<<< b\n"), "f:1:1" + settle + "f:2:1" + settle);
}

TEST(TextErrors, TextThatOnlyLooksLikeAConflict_KeepsItsErrors) {
    EXPECT_EQ(toldOf("=======\n <<<<<<<\n<<<<<<\n"), "f:1:1: consequence\n");
}

TEST(TextErrors, MoreConflictsThanAreReported_EndAtTheLimit) {
    std::string text;
    for (int i = 0; i < 30; ++i)
        text += "<<<<<<< a\n=======\n>>>>>>> b\n";
    const std::string all = toldOf(text);
    EXPECT_EQ(std::ranges::count(all, '\n'), 20) << all;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
