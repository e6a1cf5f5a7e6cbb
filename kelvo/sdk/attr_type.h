#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

namespace qv::kelvo_sdk {

/// Kinds of inputs and outputs. In queries Null stands for any kind.
enum class AttrType : i32 {
    Null,
    Bool,
    Int,
    UInt,
    Real,
    Vec2,
    Vec3,
    Vec4,
    Pos2,
    Pos3,
    Quat,
    Rgba,
    Mat3,
    Mat4,
    String,
    Node,
    Buffer,
    Array,
    Object,
};

inline constexpr u32 attrTypeCount = 19;

/// Returns the name as in the enumeration, "<unknown>" for values outside it. Never null.
[[nodiscard]] QV_EXPORT const char* attrTypeName(AttrType type) noexcept;

/// Returns how a value of the kind is written, for messages: "four numbers, (r g b a)". Never null.
[[nodiscard]] QV_EXPORT const char* attrTypeForm(AttrType type) noexcept;

/// Finds the kind with exactly this name; false, and `out` is unchanged, when there is none.
QV_EXPORT bool parseAttrType(std::string_view name, AttrType& out) noexcept;

} // namespace qv::kelvo_sdk
