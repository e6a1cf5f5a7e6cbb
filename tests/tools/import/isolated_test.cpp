#include "tools/import/isolated.h"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>

namespace qv::model_import {
namespace {

TEST(RunIsolated, WorkThatEnds_GivesItsResult) {
    String error;
    for (const int result : {0, 1, 2, 255})
        EXPECT_EQ(runIsolated([result] { return result; }, error), result);
    EXPECT_EQ(error, "");
}

TEST(RunIsolated, WorkThatDies_SaysOfWhat) {
    String error;
    EXPECT_EQ(runIsolated([] { return std::raise(SIGKILL); }, error), -1);
    EXPECT_EQ(error, "Killed");
}

TEST(RunIsolated, WorkThatThrows_Dies) {
    String error;
    EXPECT_EQ(runIsolated([]() -> int { throw std::runtime_error("no"); }, error), -1);
    EXPECT_EQ(error, "Aborted");
}

TEST(RunIsolated, WhatItChanges_StaysThere) {
    String error;
    int value = 1;
    EXPECT_EQ(runIsolated([&value] { return value = 2; }, error), 2);
    EXPECT_EQ(value, 1);
}

} // namespace
} // namespace qv::model_import
