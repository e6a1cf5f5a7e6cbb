#include "tools/import/isolated.h"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <string>

namespace qv::model_import {
namespace {

TEST(RunIsolated, WorkThatEnds_GivesItsResult) {
    String error;
    for (const int result : {0, 1, 2, 255})
        EXPECT_EQ(runIsolated([result] { return result; }, 30, error), result);
    EXPECT_EQ(error, "");
}

TEST(RunIsolated, WorkThatDies_SaysOfWhat) {
    String error;
    EXPECT_EQ(runIsolated([] { return std::raise(SIGKILL); }, 30, error), -1);
    EXPECT_EQ(error, "its reader crashed: Killed");
}

TEST(RunIsolated, WorkThatThrows_Dies) {
    String error;
    EXPECT_EQ(runIsolated([]() -> int { throw std::runtime_error("no"); }, 30, error), -1);
    EXPECT_EQ(error, "its reader crashed: Aborted");
}

TEST(RunIsolated, WorkWithoutEnd_IsEnded) {
    String error;
    volatile bool goesOn = true;
    const auto endless = [&goesOn] {
        while (goesOn) {
        }
        return 0;
    };
    EXPECT_EQ(runIsolated(endless, 1, error), -1);
    EXPECT_EQ(error, "reading it comes to no end within 1 s");
}

TEST(ReadingTime, OfAModel_GrowsWithItsFile) {
    const std::string models = KELVO_MODELS;
    EXPECT_EQ(readingTime("/no/such"), 30u);
    EXPECT_EQ(readingTime((models + "/invalid/empty.off").c_str()), 30u);
    EXPECT_EQ(readingTime((models + "/CSM/ThomasFechten.csm").c_str()), 60u);
}

TEST(RunIsolated, Work_DoesNotChangeTheCallersMemory) {
    String error;
    int value = 1;
    EXPECT_EQ(runIsolated([&value] { return value = 2; }, 30, error), 2);
    EXPECT_EQ(value, 1);
}

} // namespace
} // namespace qv::model_import
