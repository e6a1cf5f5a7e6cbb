#include "kelvo/base/math.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace qv;
using namespace qv::math;

namespace {

double read(const volatile double& value) {
    return value;
}

const double seenAtLoad[] = {read(Mat4d::identity.m[3][3]), read(Mat3d::identity.m[2][2]),
                             read(Quatd::identity.v[3])};

} // namespace

TEST(Math, MatIdentity_HasOnesOnTheDiagonal) {
    for (u64 row = 0; row < 4; ++row)
        for (u64 column = 0; column < 4; ++column)
            EXPECT_EQ((MatT<4, double>::identity[row][column]), row == column ? 1.0 : 0.0);
    for (u64 row = 0; row < 3; ++row)
        for (u64 column = 0; column < 3; ++column)
            EXPECT_EQ((MatT<3, double>::identity[row][column]), row == column ? 1.0 : 0.0);
}

TEST(Math, QuatIdentity_TurnsNothing) {
    EXPECT_EQ(Quatd::identity, (Quatd{0, 0, 0, 1}));
}

TEST(Math, PosZero_IsTheOrigin) {
    EXPECT_EQ((PosT<3, double>::zero), (Pos3d{0, 0, 0}));
}

TEST(Math, AabbIdentity_HasBothCornersAtTheOrigin) {
    EXPECT_EQ(AabbT<double>::identity.min, (PosT<3, double>::zero));
    EXPECT_EQ(AabbT<double>::identity.max, (PosT<3, double>::zero));
}

TEST(Math, Constants_AreThereBeforeStaticObjectsReadThem) {
    EXPECT_EQ(seenAtLoad[0], 1.0);
    EXPECT_EQ(seenAtLoad[1], 1.0);
    EXPECT_EQ(seenAtLoad[2], 1.0);
}

// Tells whether a type consists of `count` components of one type and nothing else.
template<class T, class Component, u64 count>
constexpr bool isMadeOf = sizeof(T) == count * sizeof(Component) &&
                          std::is_same_v<std::remove_extent_t<decltype(T::v)>, Component>;

TEST(Math, Names_SayHowManyOfWhichComponent) {
    EXPECT_TRUE((isMadeOf<Vec2f, float, 2> && isMadeOf<Vec3f, float, 3>));
    EXPECT_TRUE((isMadeOf<Vec2d, double, 2> && isMadeOf<Vec3d, double, 3>));
    EXPECT_TRUE((isMadeOf<Vec2i, i32, 2> && isMadeOf<Vec3i, i32, 3>));
    EXPECT_TRUE((isMadeOf<Vec2u, u32, 2> && isMadeOf<Vec3u, u32, 3>));
    EXPECT_TRUE((isMadeOf<Vec4f, float, 4> && isMadeOf<Vec4d, double, 4>));
    EXPECT_TRUE((isMadeOf<Vec4i, i32, 4> && isMadeOf<Vec4u, u32, 4>));
    EXPECT_TRUE((isMadeOf<Pos2f, float, 2> && isMadeOf<Pos3f, float, 3>));
    EXPECT_TRUE((isMadeOf<Pos2d, double, 2> && isMadeOf<Pos3d, double, 3>));
    EXPECT_TRUE((isMadeOf<Pos2i, i32, 2> && isMadeOf<Pos3i, i32, 3>));
    EXPECT_EQ(sizeof(Mat3f) + sizeof(Mat4f), (9 + 16) * sizeof(float));
    EXPECT_EQ(sizeof(Mat3d) + sizeof(Mat4d), (9 + 16) * sizeof(double));
    EXPECT_EQ(sizeof(Mat3i) + sizeof(Mat4i), (9 + 16) * sizeof(i32));
}

TEST(Math, Types_ArePlainMemoryInOrder) {
    EXPECT_TRUE(std::is_trivially_copyable_v<Mat4d>);
    EXPECT_TRUE(std::is_standard_layout_v<Obbf>);
    EXPECT_EQ(sizeof(Mat3f), 9 * sizeof(float));
    EXPECT_EQ(sizeof(Obbd), 15 * sizeof(double));
    EXPECT_EQ(sizeof(Rgb8), 3u);
    EXPECT_EQ(sizeof(Rgbaf), 4 * sizeof(float));
    EXPECT_EQ(sizeof(Quatf), 4 * sizeof(float));
}

TEST(Math, Default_IsAllZeros) {
    EXPECT_EQ(Vec3d(), (Vec3d{0, 0, 0}));
    EXPECT_EQ(Rgbad(), (Rgbad{0, 0, 0, 0}));
    EXPECT_EQ(Mat4d().m[0][0], 0.0);
}

TEST(Math, Components_AreReadAndWrittenByIndex) {
    Vec4i v{1, 2, 3, 4};
    v[2] = 7;
    EXPECT_EQ(v, (Vec4i{1, 2, 7, 4}));
    EXPECT_NE(v, Vec4i());
}

template<class T>
class MathIndex : public testing::Test {};

using Indexed = testing::Types<Vec3d, Pos3d, Quatd, Rgbd, Rgbad>;
TYPED_TEST_SUITE(MathIndex, Indexed);

TYPED_TEST(MathIndex, ComponentsStandSideBySideAndNothingElse) {
    TypeParam value;
    constexpr u64 count = sizeof(value) / sizeof(double);
    for (u64 i = 0; i < count; ++i)
        value[i] = static_cast<double>(i + 1);
    const TypeParam& read = value;
    for (u64 i = 0; i < count; ++i) {
        EXPECT_EQ(read[i], static_cast<double>(i + 1));
        EXPECT_EQ(&read[i], reinterpret_cast<const double*>(&value) + i);
    }
}

TEST(Math, Translation_StandsInTheLastRow) {
    const Vec3d offset{0, 2.5, 0};
    const Mat4d matrix = Mat4d::translation(offset);
    EXPECT_EQ(matrix[3][1], 2.5);
    EXPECT_EQ((Pos3d{1, 1, 1} * matrix), (Pos3d{1, 3.5, 1}));
}

// Evaluated at compile time, where the compiler refuses access beyond an array.
TEST(Math, Products_StayInTheirBounds) {
    constexpr Mat4d twice = Mat4d::translation({1, 2, 3}) * Mat4d::translation({1, 2, 3});
    constexpr Pos3d moved = Pos3d{1, 1, 1} * twice;
    EXPECT_EQ(moved, (Pos3d{3, 5, 7}));
}

TEST(Math, Product_DoesTheLeftMatrixFirst) {
    Mat4d scale = Mat4d::identity;
    scale[0][0] = 2;
    const Mat4d move = Mat4d::translation({1, 0, 0});
    EXPECT_EQ((Pos3d{1, 0, 0} * (scale * move)), (Pos3d{3, 0, 0}));
    EXPECT_EQ((Pos3d{1, 0, 0} * (move * scale)), (Pos3d{4, 0, 0}));
    EXPECT_EQ(move * Mat4d::identity, move);
}

TEST(Math, Transposed_SwapsRowsAndColumns) {
    const Mat4d matrix = Mat4d::translation({1, 2, 3});
    EXPECT_EQ(matrix.transposed()[1][3], 2.0);
    EXPECT_EQ(matrix.transposed().transposed(), matrix);
}

TEST(Math, PositionsAndOffsets_AddAndSubtract) {
    EXPECT_EQ((Pos3d{1, 2, 3} + Vec3d{1, 1, 1}), (Pos3d{2, 3, 4}));
    EXPECT_EQ((Pos3d{5, 4, 3} - Pos3d{1, 2, 4}), (Vec3d{4, 2, -1}));
    constexpr Vec3d offset = Pos3d{5, 4, 3} - Pos3d{1, 2, 4};
    EXPECT_EQ((Pos3d{1, 2, 4} + offset), (Pos3d{5, 4, 3}));
}
