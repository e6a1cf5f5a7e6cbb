#include "tools/import/material_property.h"

#include <cstring>

namespace qv::model_import {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;

namespace {

template<typename T>
void readNumbers(const aiMaterialProperty& source, std::vector<double>& out) {
    for (u64 at = 0; at + sizeof(T) <= source.mDataLength; at += sizeof(T)) {
        T value;
        std::memcpy(&value, source.mData + at, sizeof value);
        out.push_back(static_cast<double>(value));
    }
}

// The data is a length in 32 bits, then the text.
String readText(const aiMaterialProperty& source) {
    u32 length = 0;
    if (source.mDataLength < sizeof length) return {};
    std::memcpy(&length, source.mData, sizeof length);
    const u64 room = source.mDataLength - sizeof length;
    return String(std::string_view(source.mData + sizeof length, length < room ? length : room));
}

template<typename T>
T tupleOf(const std::vector<double>& numbers) {
    T result;
    for (u64 i = 0; i < sizeof result.v / sizeof result.v[0] && i < numbers.size(); ++i)
        result.v[i] = numbers[i];
    return result;
}

} // namespace

MaterialProperty::MaterialProperty(const aiMaterialProperty& source)
    : m_source(source),
      m_isText(source.mType == aiPTI_String),
      m_isWhole(source.mType == aiPTI_Integer || source.mType == aiPTI_Buffer) {
    if (!source.mData) return;
    const u64 bytes = source.mDataLength;
    if (m_isText)
        m_text = readText(source);
    else if (source.mType == aiPTI_Float)
        readNumbers<float>(source, m_numbers);
    else if (source.mType == aiPTI_Double)
        readNumbers<double>(source, m_numbers);
    // Some readers store a flag or a number as its bytes.
    else if (source.mType == aiPTI_Integer || bytes == sizeof(i32))
        readNumbers<i32>(source, m_numbers);
    else if (bytes == sizeof(bool))
        readNumbers<u8>(source, m_numbers);
}

AttrType MaterialProperty::naturalType(bool isColor) const noexcept {
    if (m_isText) return AttrType::String;
    if (isColor && (m_numbers.size() == 3 || m_numbers.size() == 4)) return AttrType::Rgba;
    switch (m_numbers.size()) {
    case 1:
        return m_isWhole ? AttrType::Int : AttrType::Real;
    case 2:
        return AttrType::Vec2;
    case 3:
        return AttrType::Vec3;
    case 4:
        return AttrType::Vec4;
    default:
        return AttrType::Buffer;
    }
}

bool MaterialProperty::writeTo(const Input& input,
                               std::span<const std::string_view> choices) const {
    const AttrType type = input.type();
    if (m_isText) return type == AttrType::String && input.setString(m_text);
    if (type == AttrType::Buffer) return writeBytes(input);
    if (m_numbers.empty()) return false;
    if (m_numbers.size() > 1) return writeTuple(input);
    const double value = m_numbers[0];
    if (type == AttrType::Bool) return input.set(value != 0.0);
    if (type == AttrType::Int) return input.set(static_cast<i64>(value));
    if (type == AttrType::Real) return input.set(value);
    if (type != AttrType::String) return false;
    const bool isChoice = value >= 0.0 && value < static_cast<double>(choices.size()) &&
                          !choices[static_cast<u64>(value)].empty();
    return input.setString(isChoice ? String(choices[static_cast<u64>(value)])
                                    : String::format("%.0f", value));
}

bool MaterialProperty::writeTuple(const Input& input) const {
    const u64 count = m_numbers.size();
    switch (input.type()) {
    case AttrType::Vec2:
        return count == 2 && input.set(tupleOf<math::Vec2d>(m_numbers));
    case AttrType::Vec3:
        return count == 3 && input.set(tupleOf<math::Vec3d>(m_numbers));
    case AttrType::Vec4:
        return count == 4 && input.set(tupleOf<math::Vec4d>(m_numbers));
    case AttrType::Rgba: {
        auto color = tupleOf<math::Rgbad>(m_numbers);
        if (count == 3) color[3] = 1.0;
        return (count == 3 || count == 4) && input.set(color);
    }
    default:
        return false;
    }
}

bool MaterialProperty::writeBytes(const Input& input) const {
    if (!m_numbers.empty()) return input.setBuffer(std::span<const double>(m_numbers));
    const auto* bytes = reinterpret_cast<const u8*>(m_source.mData);
    return input.setBuffer(std::span<const u8>(bytes, m_source.mData ? m_source.mDataLength : 0));
}

} // namespace qv::model_import
