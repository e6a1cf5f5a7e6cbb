#include "kelvo/base/data_type.h"

#include "kelvo/base/math.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

using namespace qv;

namespace {

struct Row {
    const char* name;
    u64 size;
    u64 components;
    DataType component;
};

using enum DataType;

// The index of each row is the value of the enumerator, 0 to 59.
constexpr Row rows[] = {
    {"Null", 0, 0, Null},      {"Bool", 1, 1, Bool},        {"Char", 1, 1, Char},
    {"Byte", 1, 1, Byte},      {"Int16", 2, 1, Int16},      {"Int32", 4, 1, Int32},
    {"Int64", 8, 1, Int64},    {"UInt16", 2, 1, UInt16},    {"UInt32", 4, 1, UInt32},
    {"UInt64", 8, 1, UInt64},  {"Float", 4, 1, Float},      {"Double", 8, 1, Double},
    {"Ptr", 8, 1, Ptr},        {"Vec2f", 8, 2, Float},      {"Vec2d", 16, 2, Double},
    {"Vec2i", 8, 2, Int32},    {"Vec2u", 8, 2, UInt32},     {"Vec3f", 12, 3, Float},
    {"Vec3d", 24, 3, Double},  {"Vec3i", 12, 3, Int32},     {"Vec3u", 12, 3, UInt32},
    {"Vec4f", 16, 4, Float},   {"Vec4d", 32, 4, Double},    {"Vec4i", 16, 4, Int32},
    {"Vec4u", 16, 4, UInt32},  {"Pos2f", 8, 2, Float},      {"Pos2d", 16, 2, Double},
    {"Pos2i", 8, 2, Int32},    {"Pos3f", 12, 3, Float},     {"Pos3d", 24, 3, Double},
    {"Pos3i", 12, 3, Int32},   {"Quatf", 16, 4, Float},     {"Quatd", 32, 4, Double},
    {"Rgbf", 12, 3, Float},    {"Rgbd", 24, 3, Double},     {"Rgb8", 3, 3, Byte},
    {"Rgbaf", 16, 4, Float},   {"Rgbad", 32, 4, Double},    {"Rgba8", 4, 4, Byte},
    {"Mat3f", 36, 9, Float},   {"Mat3d", 72, 9, Double},    {"Mat3i", 36, 9, Int32},
    {"Mat4f", 64, 16, Float},  {"Mat4d", 128, 16, Double},  {"Mat4i", 64, 16, Int32},
    {"Xformf", 64, 16, Float}, {"Xformd", 128, 16, Double}, {"Xformi", 64, 16, Int32},
    {"Aabbf", 24, 6, Float},   {"Aabbd", 48, 6, Double},    {"Aabbi", 24, 6, Int32},
    {"Obbf", 60, 15, Float},   {"Obbd", 120, 15, Double},   {"Obbi", 60, 15, Int32},
    {"Hsvf", 12, 3, Float},    {"Hsvd", 24, 3, Double},     {"Hslf", 12, 3, Float},
    {"Hsld", 24, 3, Double},   {"Argb8", 4, 4, Byte},       {"ColorRef", 4, 1, UInt32},
};

} // namespace

TEST(DataType, Table_HasSixtyValuesOf32Bits) {
    EXPECT_EQ(std::size(rows), dataTypeCount);
    EXPECT_EQ(static_cast<u32>(ColorRef), 59u);
    EXPECT_EQ(sizeof(DataType), 4u);
}

TEST(DataType, NameSizeAndComponents_FollowTheTable) {
    for (u32 i = 0; i < std::size(rows); ++i) {
        const auto type = static_cast<DataType>(i);
        EXPECT_STREQ(dataTypeName(type), rows[i].name);
        EXPECT_EQ(dataTypeSize(type), rows[i].size) << rows[i].name;
        EXPECT_EQ(dataTypeComponents(type), rows[i].components) << rows[i].name;
        EXPECT_EQ(dataTypeComponent(type), rows[i].component) << rows[i].name;
    }
}

TEST(DataType, Name_IsReadBack) {
    for (u32 i = 0; i < std::size(rows); ++i) {
        DataType type = Null;
        ASSERT_TRUE(parseDataType(rows[i].name, type)) << rows[i].name;
        EXPECT_EQ(static_cast<u32>(type), i);
    }
}

TEST(DataType, ValueOutsideTheEnumeration_IsUnknown) {
    for (const i64 value : {60LL, 61LL, -1LL, 1LL << 31}) {
        const auto type = static_cast<DataType>(value);
        EXPECT_STREQ(dataTypeName(type), "<unknown>") << value;
        EXPECT_EQ(dataTypeSize(type), 0u) << value;
        EXPECT_EQ(dataTypeComponents(type), 0u) << value;
        EXPECT_EQ(dataTypeComponent(type), Null) << value;
    }
}

TEST(DataType, UnknownName_ChangesNothing) {
    for (const char* name : {"", "vec3f", "Vec3", "Vec3f ", "<unknown>"}) {
        DataType type = Ptr;
        EXPECT_FALSE(parseDataType(name, type)) << name;
        EXPECT_EQ(type, Ptr);
    }
}

TEST(DataType, Sizes_AreThoseOfTheMathTypes) {
    EXPECT_EQ(dataTypeSize(Vec2u), sizeof(math::Vec2u));
    EXPECT_EQ(dataTypeSize(Vec3f), sizeof(math::Vec3f));
    EXPECT_EQ(dataTypeSize(Pos3d), sizeof(math::Pos3d));
    EXPECT_EQ(dataTypeSize(Quatf), sizeof(math::Quatf));
    EXPECT_EQ(dataTypeSize(Rgb8), sizeof(math::Rgb8));
    EXPECT_EQ(dataTypeSize(Rgbad), sizeof(math::Rgbad));
    EXPECT_EQ(dataTypeSize(Mat3i), sizeof(math::Mat3i));
    EXPECT_EQ(dataTypeSize(Mat4d), sizeof(math::Mat4d));
    EXPECT_EQ(dataTypeSize(Aabbf), sizeof(math::Aabbf));
    EXPECT_EQ(dataTypeSize(Obbd), sizeof(math::Obbd));
}
