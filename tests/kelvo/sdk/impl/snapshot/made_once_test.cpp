#include "kelvo/sdk/impl/snapshot/made_once.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(MadeOnceTest, Get_AskedTwice_MakesOne) {
    const MadeOnce<int> number;
    int made = 0;
    const auto make = [&] { return std::make_unique<int>(++made); };
    EXPECT_EQ(&number.get(make), &number.get(make));
    EXPECT_EQ(made, 1);
}

TEST(MadeOnceTest, Get_WhenAnotherWasReadyMeanwhile_ReturnsThatOne) {
    const MadeOnce<int> number;
    const int& got = number.get([&] {
        static_cast<void>(number.get([] { return std::make_unique<int>(1); }));
        return std::make_unique<int>(2);
    });
    EXPECT_EQ(got, 1);
}

TEST(MadeOnceTest, Get_AfterAFailure_MakesAgain) {
    const MadeOnce<int> number;
    const auto fail = []() -> std::unique_ptr<int> { throw std::runtime_error("no"); };
    EXPECT_THROW(static_cast<void>(number.get(fail)), std::runtime_error);
    EXPECT_EQ(number.get([] { return std::make_unique<int>(7); }), 7);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
