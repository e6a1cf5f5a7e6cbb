#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <string_view>

namespace qv {

/// Element types of buffers. The suffix tells the component: f float, d double, i signed and
/// u unsigned 32-bit integer, 8 one byte per channel.
///
/// A Mat3 has 9 components and a Mat4 16, row by row; an Xform is a 4 by 4 matrix too. An Aabb has
/// 6: minimum, then maximum corner. An Obb has 15: centre, three axes, half extents along them. A
/// Bool is one byte, a Ptr one word, a ColorRef one 32-bit word of packed colour; Null stands for
/// no type.
enum class DataType : u32 {
    Null,
    Bool,
    Char,
    Byte,
    Int16,
    Int32,
    Int64,
    UInt16,
    UInt32,
    UInt64,
    Float,
    Double,
    Ptr,
    Vec2f,
    Vec2d,
    Vec2i,
    Vec2u,
    Vec3f,
    Vec3d,
    Vec3i,
    Vec3u,
    Vec4f,
    Vec4d,
    Vec4i,
    Vec4u,
    Pos2f,
    Pos2d,
    Pos2i,
    Pos3f,
    Pos3d,
    Pos3i,
    Quatf,
    Quatd,
    Rgbf,
    Rgbd,
    Rgb8,
    Rgbaf,
    Rgbad,
    Rgba8,
    Mat3f,
    Mat3d,
    Mat3i,
    Mat4f,
    Mat4d,
    Mat4i,
    Xformf,
    Xformd,
    Xformi,
    Aabbf,
    Aabbd,
    Aabbi,
    Obbf,
    Obbd,
    Obbi,
    Hsvf,
    Hsvd,
    Hslf,
    Hsld,
    Argb8,
    ColorRef,
};

inline constexpr u32 dataTypeCount = 60;

/// Returns the name of the type, "<unknown>" for a value outside the enumeration.
[[nodiscard]] QV_EXPORT const char* dataTypeName(DataType type) noexcept;

/// Finds a type by its exact name; false when there is none, and `type` is unchanged then.
[[nodiscard]] QV_EXPORT bool parseDataType(std::string_view name, DataType& type) noexcept;

/// Bytes of one element; 0 for Null and for a value outside the enumeration.
[[nodiscard]] QV_EXPORT u64 dataTypeSize(DataType type) noexcept;

/// Components of one element; 0 for Null and for a value outside the enumeration.
[[nodiscard]] QV_EXPORT u64 dataTypeComponents(DataType type) noexcept;

/// The plain type (Bool to Ptr) of each component; Null for Null and outside the enumeration.
[[nodiscard]] QV_EXPORT DataType dataTypeComponent(DataType type) noexcept;

} // namespace qv
