#include "sdk/attr_type.h"

namespace qv::kelvo_sdk {

namespace {

constexpr const char* kNames[attrTypeCount] = {
    "Null", "Bool", "Int",  "UInt", "Real",   "Vec2", "Vec3",   "Vec4",  "Pos2",   "Pos3",
    "Quat", "Rgba", "Mat3", "Mat4", "String", "Node", "Buffer", "Array", "Object",
};

} // namespace

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
