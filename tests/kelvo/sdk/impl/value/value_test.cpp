#include "kelvo/sdk/impl/value/value.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

std::vector<Value> oneOfEachKind() {
    return {Value(),
            Value(true),
            Value(-3),
            Value(7u),
            Value(0.5),
            Value(math::Vec2d{1, 2}),
            Value(math::Vec3d{1, 2, 3}),
            Value(math::Vec4d{1, 2, 3, 4}),
            Value(math::Pos2d{1, 2}),
            Value(math::Pos3d{1, 2, 3}),
            Value(math::Quatd{1, 2, 3, 4}),
            Value(math::Rgbad{1, 2, 3, 4}),
            Value(math::Mat3d::identity),
            Value(math::Mat4d::identity),
            Value("text"),
            Value(static_cast<interfaces::INode*>(nullptr)),
            Value(Buffer(DataType::Float, 3))};
}

TEST(Value, EachKind_KnowsItself) {
    const auto values = oneOfEachKind();
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(values[i].type(), static_cast<AttrType>(i));
}

TEST(Value, Equality_IsOfKindAndBits) {
    const auto a = oneOfEachKind();
    const auto b = oneOfEachKind();
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t k = 0; k < b.size(); ++k)
            EXPECT_EQ(a[i] == b[k], i == k) << i << " " << k;
    }
}

TEST(Value, TextsAreEqual_WithTheSameLengthAndTheSameCharacters) {
    const char* texts[] = {"", "a", "b", "ab", "bb", "lamp1", "lamp2", "lump1", "lamp1 "};
    for (u64 i = 0; i < std::size(texts); ++i)
        for (u64 j = 0; j < std::size(texts); ++j)
            EXPECT_EQ(Value(String(texts[i])) == Value(String(texts[j])), i == j)
                << '"' << texts[i] << "\" and \"" << texts[j] << '"';
    EXPECT_TRUE(Value(String()) == Value(String("")));
}

TEST(Value, CopyAndMove_KeepTheValue) {
    for (const Value& value : oneOfEachKind()) {
        Value copy = value;
        EXPECT_EQ(copy, value);
        const Value moved = std::move(copy);
        EXPECT_EQ(moved, value);
        EXPECT_TRUE(copy.isNull()); // NOLINT(bugprone-use-after-move): moved-from values are Null
    }
}

TEST(Value, AssignmentBetweenAllKinds_Works) {
    for (const Value& from : oneOfEachKind()) {
        for (Value to : oneOfEachKind()) {
            to = from;
            EXPECT_EQ(to, from);
            const Value& itself = to;
            to = itself;
            EXPECT_EQ(to, from);
        }
    }
}

TEST(Value, NaN_EqualsItself_AndMinusZeroIsNotZero) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Value(nan), Value(nan));
    EXPECT_FALSE(Value(0.0) == Value(-0.0));
    EXPECT_NE(Value(0.0).hash(), Value(-0.0).hash());
}

TEST(Value, Hash_IsEqualForEqualValuesAndDiffersBetweenKinds) {
    const auto a = oneOfEachKind();
    const auto b = oneOfEachKind();
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i].hash(), b[i].hash());
        for (std::size_t k = 0; k < i; ++k) {
            if (a[i].hash() == 0) continue;
            EXPECT_NE(a[i].hash(), a[k].hash()) << i << " " << k;
        }
    }
    EXPECT_EQ(Value().hash(), 0u);
    EXPECT_EQ(Value(static_cast<interfaces::INode*>(nullptr)).hash(), 0u);
    EXPECT_NE(Value(false).hash(), 0u);
}

TEST(Value, Reals_GoThereAndBack) {
    for (const Value& value : oneOfEachKind()) {
        if (Value::components(value.type()) == 0) continue;
        EXPECT_EQ(Value::fromReals(value.type(), value.reals()), value);
    }
    EXPECT_TRUE(Value::fromReals(AttrType::String, nullptr).isNull());
}

TEST(Value, Zero_IsOfItsKind) {
    for (u32 kind = 0; kind <= static_cast<u32>(AttrType::Buffer); ++kind)
        EXPECT_EQ(Value::zero(static_cast<AttrType>(kind)).type(), static_cast<AttrType>(kind));
    EXPECT_TRUE(Value::zero(AttrType::Array).isNull());
    EXPECT_TRUE(Value::zero(AttrType(99)).isNull());
    EXPECT_EQ(Value::zero(AttrType::Mat4), Value(math::Mat4d::identity));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
