#include "tools/import/import_report.h"

#include <gtest/gtest.h>

namespace qv::model_import {
namespace {

TEST(Report, OfLeftOutThings_CountsByKind) {
    Report report;
    report.leaveOut("bones", "hip");
    report.leaveOut("animations", "walk");
    report.leaveOut("bones", "knee");
    ASSERT_EQ(report.leftOut.size(), 2u);
    EXPECT_EQ(Report::text(report.leftOut[0]), "bones: 2 (hip, knee)");
    EXPECT_EQ(Report::text(report.leftOut[1]), "animations: 1 (walk)");
}

TEST(Report, OfOneNameTwice_NamesItOnce) {
    Report report;
    report.leaveOut("bones", "hip", 3);
    report.leaveOut("bones", "hip", 4);
    EXPECT_EQ(Report::text(report.leftOut[0]), "bones: 7 (hip)");
}

TEST(Report, OfThingsWithoutNames_SaysHowMany) {
    Report report;
    report.leaveOut("morph targets", "", 2);
    EXPECT_EQ(Report::text(report.leftOut[0]), "morph targets: 2");
}

TEST(Report, OfManyNames_SaysHowManyMore) {
    Report report;
    for (unsigned i = 0; i < 5; ++i)
        report.leaveOut("bones", String::format("b%u", i));
    EXPECT_EQ(Report::text(report.leftOut[0], 2), "bones: 5 (b0, b1 and 3 more)");
}

TEST(Report, OfCountlessNames_KeepsTheFirst) {
    Report report;
    for (unsigned i = 0; i < Report::maxKeptNames + 5; ++i)
        report.leaveOut("bones", String::format("b%u", i));
    EXPECT_EQ(report.leftOut[0].count, Report::maxKeptNames + 5);
    EXPECT_EQ(report.leftOut[0].names.size(), Report::maxKeptNames);
}

} // namespace
} // namespace qv::model_import
