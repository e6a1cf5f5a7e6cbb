#pragma once

#include "kelvo/sdk/interfaces/i_input.h"

#include <concepts>
#include <utility>

// One overload per C++ type, so that the typed access of the handles has a single spelling.
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

template<std::signed_integral T>
bool read(const IInput& input, T& out, void* ctx) {
    i64 value = 0;
    if (!input.readInt(value, true, ctx) || !std::in_range<T>(value)) return false;
    out = static_cast<T>(value);
    return true;
}
template<std::unsigned_integral T>
bool read(const IInput& input, T& out, void* ctx) {
    if constexpr (std::same_as<T, bool>) {
        return input.readBool(out, true, ctx);
    } else {
        u64 value = 0;
        if (!input.readUInt(value, true, ctx) || !std::in_range<T>(value)) return false;
        out = static_cast<T>(value);
        return true;
    }
}
inline bool read(const IInput& input, double& out, void* ctx) {
    return input.readReal(out, true, ctx);
}
inline bool read(const IInput& input, float& out, void* ctx) {
    double value = 0.0;
    if (!input.readReal(value, true, ctx)) return false;
    out = static_cast<float>(value);
    return true;
}
inline bool read(const IInput& input, math::Vec2d& out, void* ctx) {
    return input.readVec2(out, true, ctx);
}
inline bool read(const IInput& input, math::Vec3d& out, void* ctx) {
    return input.readVec3(out, true, ctx);
}
inline bool read(const IInput& input, math::Vec4d& out, void* ctx) {
    return input.readVec4(out, true, ctx);
}
inline bool read(const IInput& input, math::Pos2d& out, void* ctx) {
    return input.readPos2(out, true, ctx);
}
inline bool read(const IInput& input, math::Pos3d& out, void* ctx) {
    return input.readPos3(out, true, ctx);
}
inline bool read(const IInput& input, math::Quatd& out, void* ctx) {
    return input.readQuat(out, true, ctx);
}
inline bool read(const IInput& input, math::Rgbad& out, void* ctx) {
    return input.readRgba(out, true, ctx);
}
inline bool read(const IInput& input, math::Mat3d& out, void* ctx) {
    return input.readMat3(out, true, ctx);
}
inline bool read(const IInput& input, math::Mat4d& out, void* ctx) {
    return input.readMat4(out, true, ctx);
}
inline bool read(const IInput& input, String& out, void* ctx) {
    return input.readString(out, true, ctx);
}
inline bool read(const IInput& input, interfaces::INode*& out, void* ctx) {
    return input.readNode(out, true, ctx);
}
inline bool read(const IInput& input, interfaces::BufferView& out, void* ctx) {
    return input.readBuffer(out, true, ctx);
}

} // namespace qv::kelvo_sdk::detail
