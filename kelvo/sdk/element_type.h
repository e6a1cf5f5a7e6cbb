#pragma once

#include "kelvo/base/data_type.h"
#include "kelvo/base/math.h"

#include <cstdint>

namespace qv::kelvo_sdk {

/// The buffer element type of a C++ type; Null for types that buffers cannot hold.
template<typename T>
inline constexpr DataType elementTypeOf = DataType::Null;

template<>
inline constexpr DataType elementTypeOf<bool> = DataType::Bool;
template<>
inline constexpr DataType elementTypeOf<char> = DataType::Char;
template<>
inline constexpr DataType elementTypeOf<std::uint8_t> = DataType::Byte;
template<>
inline constexpr DataType elementTypeOf<std::int16_t> = DataType::Int16;
template<>
inline constexpr DataType elementTypeOf<std::int32_t> = DataType::Int32;
template<>
inline constexpr DataType elementTypeOf<std::int64_t> = DataType::Int64;
template<>
inline constexpr DataType elementTypeOf<std::uint16_t> = DataType::UInt16;
template<>
inline constexpr DataType elementTypeOf<std::uint32_t> = DataType::UInt32;
template<>
inline constexpr DataType elementTypeOf<std::uint64_t> = DataType::UInt64;
template<>
inline constexpr DataType elementTypeOf<float> = DataType::Float;
template<>
inline constexpr DataType elementTypeOf<double> = DataType::Double;
template<>
inline constexpr DataType elementTypeOf<math::VecT<2, float>> = DataType::Vec2f;
template<>
inline constexpr DataType elementTypeOf<math::VecT<2, double>> = DataType::Vec2d;
template<>
inline constexpr DataType elementTypeOf<math::VecT<2, std::int32_t>> = DataType::Vec2i;
template<>
inline constexpr DataType elementTypeOf<math::VecT<2, std::uint32_t>> = DataType::Vec2u;
template<>
inline constexpr DataType elementTypeOf<math::VecT<3, float>> = DataType::Vec3f;
template<>
inline constexpr DataType elementTypeOf<math::VecT<3, double>> = DataType::Vec3d;
template<>
inline constexpr DataType elementTypeOf<math::VecT<3, std::int32_t>> = DataType::Vec3i;
template<>
inline constexpr DataType elementTypeOf<math::VecT<3, std::uint32_t>> = DataType::Vec3u;
template<>
inline constexpr DataType elementTypeOf<math::VecT<4, float>> = DataType::Vec4f;
template<>
inline constexpr DataType elementTypeOf<math::VecT<4, double>> = DataType::Vec4d;
template<>
inline constexpr DataType elementTypeOf<math::VecT<4, std::int32_t>> = DataType::Vec4i;
template<>
inline constexpr DataType elementTypeOf<math::VecT<4, std::uint32_t>> = DataType::Vec4u;
template<>
inline constexpr DataType elementTypeOf<math::PosT<2, float>> = DataType::Pos2f;
template<>
inline constexpr DataType elementTypeOf<math::PosT<2, double>> = DataType::Pos2d;
template<>
inline constexpr DataType elementTypeOf<math::PosT<2, std::int32_t>> = DataType::Pos2i;
template<>
inline constexpr DataType elementTypeOf<math::PosT<3, float>> = DataType::Pos3f;
template<>
inline constexpr DataType elementTypeOf<math::PosT<3, double>> = DataType::Pos3d;
template<>
inline constexpr DataType elementTypeOf<math::PosT<3, std::int32_t>> = DataType::Pos3i;
template<>
inline constexpr DataType elementTypeOf<math::QuatT<float>> = DataType::Quatf;
template<>
inline constexpr DataType elementTypeOf<math::QuatT<double>> = DataType::Quatd;
template<>
inline constexpr DataType elementTypeOf<math::RgbaT<float>> = DataType::Rgbaf;
template<>
inline constexpr DataType elementTypeOf<math::RgbaT<double>> = DataType::Rgbad;
template<>
inline constexpr DataType elementTypeOf<math::MatT<3, float>> = DataType::Mat3f;
template<>
inline constexpr DataType elementTypeOf<math::MatT<3, double>> = DataType::Mat3d;
template<>
inline constexpr DataType elementTypeOf<math::MatT<4, float>> = DataType::Mat4f;
template<>
inline constexpr DataType elementTypeOf<math::MatT<4, double>> = DataType::Mat4d;

} // namespace qv::kelvo_sdk
