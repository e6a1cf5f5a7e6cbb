#pragma once

#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/result.h"

#include <concepts>
#include <utility>
#include <variant>

// One overload per C++ type, so that the templates of the handles call one name for all types.
namespace qv::kelvo_sdk::detail {

using interfaces::IInput;

template<std::signed_integral T>
bool write(IInput& input, T value) {
    return input.setInt(static_cast<i64>(value));
}
template<std::unsigned_integral T>
bool write(IInput& input, T value) {
    if constexpr (std::same_as<T, bool>)
        return input.setBool(value);
    else
        return input.setUInt(static_cast<u64>(value));
}
template<std::floating_point T>
bool write(IInput& input, T value) {
    return input.setReal(static_cast<double>(value));
}
inline bool write(IInput& input, const math::Vec2d& value) {
    return input.setVec2(value);
}
inline bool write(IInput& input, const math::Vec3d& value) {
    return input.setVec3(value);
}
inline bool write(IInput& input, const math::Vec4d& value) {
    return input.setVec4(value);
}
inline bool write(IInput& input, const math::Pos2d& value) {
    return input.setPos2(value);
}
inline bool write(IInput& input, const math::Pos3d& value) {
    return input.setPos3(value);
}
inline bool write(IInput& input, const math::Quatd& value) {
    return input.setQuat(value);
}
inline bool write(IInput& input, const math::Rgbad& value) {
    return input.setRgba(value);
}
inline bool write(IInput& input, const math::Mat3d& value) {
    return input.setMat3(value);
}
inline bool write(IInput& input, const math::Mat4d& value) {
    return input.setMat4(value);
}
inline bool write(IInput& input, String value) {
    return input.setString(std::move(value));
}
inline bool write(IInput& input, const char* value) {
    return input.setString(value);
}
inline bool write(IInput& input, interfaces::INode* value) {
    return input.setNode(value);
}
inline bool write(IInput& input, const RefersTo<interfaces::INode>& value) {
    return input.setNode(value.get());
}
inline bool write(IInput& input, interfaces::BufferView value) {
    return input.setBuffer(value);
}

// A value to be written, for the message of a refusal: one alternative for each kind.
using Written = std::variant<bool, i64, u64, double, math::Vec2d, math::Vec3d, math::Vec4d,
                             math::Pos2d, math::Pos3d, math::Quatd, math::Rgbad, math::Mat3d,
                             math::Mat4d, String, interfaces::INode*, interfaces::BufferView>;

template<typename T>
Written written(const T& value) {
    if constexpr (std::same_as<T, bool>)
        return value;
    else if constexpr (std::signed_integral<T>)
        return static_cast<i64>(value);
    else if constexpr (std::unsigned_integral<T>)
        return static_cast<u64>(value);
    else if constexpr (std::floating_point<T>)
        return static_cast<double>(value);
    else if constexpr (std::convertible_to<const T&, const RefersTo<interfaces::INode>&>)
        return static_cast<const RefersTo<interfaces::INode>&>(value).get();
    else if constexpr (std::convertible_to<const T&, interfaces::INode*>)
        return static_cast<interfaces::INode*>(value);
    else if constexpr (std::convertible_to<const T&, String>)
        return String(value);
    else
        return value;
}

// Say why a value was not written or read, or that the input or output is null. Handles call them
// after the failure, because a refused operation changes nothing and would still be refused.
[[nodiscard]] QV_EXPORT Result writeFailure(const IInput* input, const Written& value);
[[nodiscard]] QV_EXPORT Result readFailure(const IInput* input, const Written& kind, bool evaluate);
[[nodiscard]] QV_EXPORT Result readFailure(const interfaces::IOutput* output, const Written& kind);

template<std::signed_integral T>
bool read(const IInput& input, T& out, bool evaluate, void* ctx) {
    i64 value = 0;
    if (!input.readInt(value, evaluate, ctx) || !std::in_range<T>(value)) return false;
    out = static_cast<T>(value);
    return true;
}
template<std::unsigned_integral T>
bool read(const IInput& input, T& out, bool evaluate, void* ctx) {
    if constexpr (std::same_as<T, bool>) {
        return input.readBool(out, evaluate, ctx);
    } else {
        u64 value = 0;
        if (!input.readUInt(value, evaluate, ctx) || !std::in_range<T>(value)) return false;
        out = static_cast<T>(value);
        return true;
    }
}
inline bool read(const IInput& input, double& out, bool evaluate, void* ctx) {
    return input.readReal(out, evaluate, ctx);
}
inline bool read(const IInput& input, float& out, bool evaluate, void* ctx) {
    double value = 0.0;
    if (!input.readReal(value, evaluate, ctx)) return false;
    out = static_cast<float>(value);
    return true;
}
inline bool read(const IInput& input, math::Vec2d& out, bool evaluate, void* ctx) {
    return input.readVec2(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Vec3d& out, bool evaluate, void* ctx) {
    return input.readVec3(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Vec4d& out, bool evaluate, void* ctx) {
    return input.readVec4(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Pos2d& out, bool evaluate, void* ctx) {
    return input.readPos2(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Pos3d& out, bool evaluate, void* ctx) {
    return input.readPos3(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Quatd& out, bool evaluate, void* ctx) {
    return input.readQuat(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Rgbad& out, bool evaluate, void* ctx) {
    return input.readRgba(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Mat3d& out, bool evaluate, void* ctx) {
    return input.readMat3(out, evaluate, ctx);
}
inline bool read(const IInput& input, math::Mat4d& out, bool evaluate, void* ctx) {
    return input.readMat4(out, evaluate, ctx);
}
inline bool read(const IInput& input, String& out, bool evaluate, void* ctx) {
    return input.readString(out, evaluate, ctx);
}
inline bool read(const IInput& input, interfaces::INode*& out, bool evaluate, void* ctx) {
    return input.readNode(out, evaluate, ctx);
}
inline bool read(const IInput& input, interfaces::BufferView& out, bool evaluate, void* ctx) {
    return input.readBuffer(out, evaluate, ctx);
}

} // namespace qv::kelvo_sdk::detail
