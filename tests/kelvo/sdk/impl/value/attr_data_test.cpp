#include "kelvo/sdk/impl/value/attr_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(AttrDataRecord, ItsKind_StandsFirst) {
    const AttrData data(AttrType::Rgba);
    EXPECT_EQ(static_cast<const void*>(&data.type), static_cast<const void*>(&data));
    static_assert(sizeof data.type == 4);
}

TEST(AttrDataRecord, WithDefault_DescribesKindValueAndDefault) {
    const AttrData data = AttrData::withDefault(0.5);
    EXPECT_EQ(data.type, AttrType::Real);
    EXPECT_EQ(data.value, Value(0.5));
    EXPECT_EQ(data.details->defaultValue, Value(0.5));
}

struct AcceptCase {
    Value minimum;
    Value maximum;
    Value value;
    bool expected;
};

class Accepts : public testing::TestWithParam<AcceptCase> {};

TEST_P(Accepts, Result) {
    const auto details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    details->minimum = GetParam().minimum;
    details->maximum = GetParam().maximum;
    EXPECT_EQ(details->accepts(GetParam().value), GetParam().expected);
}

const AcceptCase kAccepts[] = {
    {Value(), Value(), 5.0, true},
    {0.0, 1.0, 0.0, true},
    {0.0, 1.0, 1.0, true},
    {0.0, 1.0, 1.5, false},
    {0.0, Value(), -0.5, false},
    {0.0, Value(), 1e300, true},
    {0.0, 1.0, std::numeric_limits<double>::quiet_NaN(), false},
    {-2, 2, -3, false},
    {1u, 3u, 0u, false},
    {math::Vec2d{0, 0}, math::Vec2d{1, 2}, math::Vec2d{1, 2}, true},
    {math::Vec2d{0, 0}, math::Vec2d{1, 2}, math::Vec2d{0, 3}, false},
    {0.0, 1.0, "a text", true},
};
INSTANTIATE_TEST_SUITE_P(Table, Accepts, testing::ValuesIn(kAccepts));

TEST(AttrDataRecord, Choices_AreAllThereIs) {
    const auto details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    details->choices = {Value(1), Value(3)};
    EXPECT_TRUE(details->accepts(Value(3)));
    EXPECT_FALSE(details->accepts(Value(2)));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
