#include "kelvo/base/data_type.h"

namespace qv {

namespace {

constexpr const char* names[dataTypeCount] = {
    "Null",   "Bool",   "Char",   "Byte",  "Int16", "Int32",   "Int64", "UInt16", "UInt32",
    "UInt64", "Float",  "Double", "Ptr",   "Vec2f", "Vec2d",   "Vec2i", "Vec2u",  "Vec3f",
    "Vec3d",  "Vec3i",  "Vec3u",  "Vec4f", "Vec4d", "Vec4i",   "Vec4u", "Pos2f",  "Pos2d",
    "Pos2i",  "Pos3f",  "Pos3d",  "Pos3i", "Quatf", "Quatd",   "Rgbf",  "Rgbd",   "Rgb8",
    "Rgbaf",  "Rgbad",  "Rgba8",  "Mat3f", "Mat3d", "Mat3i",   "Mat4f", "Mat4d",  "Mat4i",
    "Xformf", "Xformd", "Xformi", "Aabbf", "Aabbd", "Aabbi",   "Obbf",  "Obbd",   "Obbi",
    "Hsvf",   "Hsvd",   "Hslf",   "Hsld",  "Argb8", "ColorRef"};

struct Shape {
    DataType component;
    u8 count;
};

using enum DataType;

constexpr Shape shapes[dataTypeCount] = {
    {Null, 0},   {Bool, 1},    {Char, 1},   {Byte, 1},    {Int16, 1},   {Int32, 1},  {Int64, 1},
    {UInt16, 1}, {UInt32, 1},  {UInt64, 1}, {Float, 1},   {Double, 1},  {Ptr, 1},    {Float, 2},
    {Double, 2}, {Int32, 2},   {UInt32, 2}, {Float, 3},   {Double, 3},  {Int32, 3},  {UInt32, 3},
    {Float, 4},  {Double, 4},  {Int32, 4},  {UInt32, 4},  {Float, 2},   {Double, 2}, {Int32, 2},
    {Float, 3},  {Double, 3},  {Int32, 3},  {Float, 4},   {Double, 4},  {Float, 3},  {Double, 3},
    {Byte, 3},   {Float, 4},   {Double, 4}, {Byte, 4},    {Float, 9},   {Double, 9}, {Int32, 9},
    {Float, 16}, {Double, 16}, {Int32, 16}, {Float, 16},  {Double, 16}, {Int32, 16}, {Float, 6},
    {Double, 6}, {Int32, 6},   {Float, 15}, {Double, 15}, {Int32, 15},  {Float, 3},  {Double, 3},
    {Float, 3},  {Double, 3},  {Byte, 4},   {UInt32, 1}};

// Sizes of the plain types, Null to Ptr.
constexpr u8 plainSizes[] = {0, 1, 1, 1, 2, 4, 8, 2, 4, 8, 4, 8, sizeof(void*)};

Shape shapeOf(DataType type) noexcept {
    const auto index = static_cast<u32>(type);
    return index < dataTypeCount ? shapes[index] : shapes[0];
}

} // namespace

const char* dataTypeName(DataType type) noexcept {
    const auto index = static_cast<u32>(type);
    return index < dataTypeCount ? names[index] : "<unknown>";
}

bool parseDataType(std::string_view name, DataType& type) noexcept {
    for (u32 i = 0; i < dataTypeCount; ++i) {
        if (name != names[i]) continue;
        type = static_cast<DataType>(i);
        return true;
    }
    return false;
}

u64 dataTypeSize(DataType type) noexcept {
    const Shape shape = shapeOf(type);
    return u64{shape.count} * plainSizes[static_cast<u32>(shape.component)];
}

u64 dataTypeComponents(DataType type) noexcept {
    return shapeOf(type).count;
}

DataType dataTypeComponent(DataType type) noexcept {
    return shapeOf(type).component;
}

} // namespace qv
