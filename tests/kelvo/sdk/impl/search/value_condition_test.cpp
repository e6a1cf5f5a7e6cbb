#include "kelvo/sdk/impl/search/value_condition.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(ExactNumber, Order_IsExactAcrossKinds) {
    // Numbers in ascending order.
    const std::vector<ExactNumber> numbers{
        ExactNumber(-kInfinity),
        ExactNumber(-1e30),
        ExactNumber(std::numeric_limits<i64>::min()),
        ExactNumber(-3.5),
        ExactNumber(i64{-3}),
        ExactNumber(-0.5),
        ExactNumber(i64{0}),
        ExactNumber(0.25),
        ExactNumber(u64{1}),
        ExactNumber(9007199254740992.0),
        ExactNumber(i64{9007199254740993}),
        ExactNumber(9007199254740994.0),
        ExactNumber(u64{18446744073709551614u}),
        ExactNumber(u64{18446744073709551615u}),
        ExactNumber(18446744073709551616.0),
        ExactNumber(kInfinity),
    };
    for (u64 i = 0; i < numbers.size(); ++i)
        for (u64 j = 0; j < numbers.size(); ++j) {
            EXPECT_EQ(numbers[i] < numbers[j], i < j) << i << " " << j;
            EXPECT_EQ(numbers[i] == numbers[j], i == j) << i << " " << j;
        }
}

TEST(ExactNumber, EqualValuesOfOtherKinds_AreEqual) {
    EXPECT_EQ(ExactNumber(i64{-3}), ExactNumber(-3.0));
    EXPECT_EQ(ExactNumber(u64{7}), ExactNumber(i64{7}));
    EXPECT_EQ(ExactNumber(0.0), ExactNumber(-0.0));
    EXPECT_EQ(ExactNumber(-9223372036854775808.0), ExactNumber(std::numeric_limits<i64>::min()));
}

TEST(ExactNumber, NotANumber_IsNotOrdered) {
    const ExactNumber none(std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(none == none);
    EXPECT_FALSE(none < ExactNumber(1.0));
    EXPECT_FALSE(ExactNumber(i64{1}) < none);
    EXPECT_FALSE(none > ExactNumber(kInfinity));
}

bool accepts(const char* wanted, const Input& input) {
    ValueCondition condition;
    EXPECT_FALSE(ValueCondition::parse(wanted, condition)) << wanted;
    return condition.accepts(input);
}

TEST(ValueCondition, Operators_CompareNumbers) {
    const Input number = Input::create(AttrType::Int);
    number.set(3);
    const struct {
        const char* wanted;
        bool isAccepted;
    } cases[] = {{"<4", true},  {"<3", false},  {"<=3", true},    {"<=2", false}, {">2", true},
                 {">3", false}, {">=3", true},  {">=3.5", false}, {"=3", true},   {"=3.0", true},
                 {"=4", false}, {"<inf", true}, {"=nan", false},  {"3", true},    {"?", true},
                 {"\\3", true}, {"4", false}};
    for (const auto& each : cases)
        EXPECT_EQ(accepts(each.wanted, number), each.isAccepted) << each.wanted;
}

TEST(ValueCondition, OtherKinds_AreNoNumbers) {
    const Input text = Input::create(AttrType::String);
    text.set("7");
    EXPECT_FALSE(accepts("=7", text));
    EXPECT_TRUE(accepts("7", text));
}

TEST(ValueCondition, Objects_HaveNoValue) {
    const Scene scene = Scene::create();
    const Node node = scene.createNode("t", "n");
    EXPECT_FALSE(accepts("*", node.createInput("o", AttrType::Object)));
    EXPECT_TRUE(accepts("*", node.createArray("a", AttrType::Object)));
}

TEST(ValueCondition, WhatIsNoNumber_IsReportedWithItsPlace) {
    ValueCondition condition;
    const QueryFault fault = ValueCondition::parse("<=x", condition);
    EXPECT_EQ(fault.at, 2u);
    EXPECT_TRUE(fault.message.view().starts_with("'x' in '<=x' is no number"));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
