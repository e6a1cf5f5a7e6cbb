#include "kelvo/sdk/attr_type.h"

namespace qv::kelvo_sdk {

namespace {

constexpr const char* kNames[attrTypeCount] = {
    "Null", "Bool", "Int",  "UInt", "Real",   "Vec2", "Vec3",   "Vec4",  "Pos2",   "Pos3",
    "Quat", "Rgba", "Mat3", "Mat4", "String", "Node", "Buffer", "Array", "Object",
};

constexpr const char* kForms[attrTypeCount] = {
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

} // namespace

const char* attrTypeForm(AttrType type) noexcept {
    const u32 value = static_cast<u32>(type);
    return kForms[value < attrTypeCount ? value : 0];
}

const char* attrTypeName(AttrType type) noexcept {
    const u32 value = static_cast<u32>(type);
    return value < attrTypeCount ? kNames[value] : "<unknown>";
}

bool parseAttrType(std::string_view name, AttrType& out) noexcept {
    for (u32 value = 0; value < attrTypeCount; ++value) {
        if (name == kNames[value]) {
            out = static_cast<AttrType>(value);
            return true;
        }
    }
    return false;
}

} // namespace qv::kelvo_sdk
