#include "kelvo/sdk/attr_type.h"

#include <gtest/gtest.h>

#include <limits>

namespace qv::kelvo_sdk {
namespace {

struct Kind {
    i32 value;
    const char* name;
};

constexpr Kind kKinds[] = {
    {0, "Null"},  {1, "Bool"},    {2, "Int"},    {3, "UInt"},    {4, "Real"},
    {5, "Vec2"},  {6, "Vec3"},    {7, "Vec4"},   {8, "Pos2"},    {9, "Pos3"},
    {10, "Quat"}, {11, "Rgba"},   {12, "Mat3"},  {13, "Mat4"},   {14, "String"},
    {15, "Node"}, {16, "Buffer"}, {17, "Array"}, {18, "Object"},
};

TEST(AttrTypeName, EveryKind_HasItsName) {
    static_assert(std::size(kKinds) == attrTypeCount);
    for (const Kind& kind : kKinds)
        EXPECT_STREQ(attrTypeName(static_cast<AttrType>(kind.value)), kind.name);
}

TEST(AttrTypeName, ValuesOutsideTheEnumeration_AreUnknown) {
    for (const i32 value :
         {19, 20, 1000, -1, -18, std::numeric_limits<i32>::max(), std::numeric_limits<i32>::min()})
        EXPECT_STREQ(attrTypeName(static_cast<AttrType>(value)), "<unknown>") << value;
}

TEST(AttrTypeName, Enumerators_HaveTheirValues) {
    static_assert(sizeof(AttrType) == 4);
    EXPECT_EQ(static_cast<i32>(AttrType::Null), 0);
    EXPECT_EQ(static_cast<i32>(AttrType::Rgba), 11);
    EXPECT_EQ(static_cast<i32>(AttrType::String), 14);
    EXPECT_EQ(static_cast<i32>(AttrType::Node), 15);
    EXPECT_EQ(static_cast<i32>(AttrType::Object), 18);
}

TEST(AttrTypeForm, EveryKind_SaysHowItIsWritten) {
    constexpr const char* forms[] = {
        "no value",
        "true or false",
        "a whole number from -9223372036854775808 to 9223372036854775807",
        "a whole number from 0 to 18446744073709551615",
        "a number, such as 0.5",
        "two numbers, (x y)",
        "three numbers, (x y z)",
        "four numbers, (x y z w)",
        "two numbers, (x y)",
        "three numbers, (x y z)",
        "four numbers, (x y z w)",
        "four numbers, (r g b a)",
        "nine numbers row by row, (1 0 0  0 1 0  0 0 1)",
        "16 numbers row by row, (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)",
        "a text",
        "the name of a node",
        "a list such as [1 2 3] or [(0 0 0) (1 0 0)], each element of the buffer's type",
        "elements of one kind",
        "members, each with a name",
    };
    static_assert(std::size(forms) == attrTypeCount);
    for (const Kind& kind : kKinds)
        EXPECT_STREQ(attrTypeForm(static_cast<AttrType>(kind.value)), forms[kind.value]);
    EXPECT_STREQ(attrTypeForm(static_cast<AttrType>(-1)), "no value");
}

TEST(ParseAttrType, EveryName_IsReadBack) {
    for (const Kind& kind : kKinds) {
        auto read = static_cast<AttrType>(99);
        EXPECT_TRUE(parseAttrType(kind.name, read));
        EXPECT_EQ(static_cast<i32>(read), kind.value);
    }
}

TEST(ParseAttrType, OtherTexts_LeaveTheKindAlone) {
    for (const char* text : {"", "null", "Real ", " Real", "<unknown>", "Float"}) {
        AttrType read = AttrType::Quat;
        EXPECT_FALSE(parseAttrType(text, read)) << text;
        EXPECT_EQ(read, AttrType::Quat);
    }
}

} // namespace
} // namespace qv::kelvo_sdk
