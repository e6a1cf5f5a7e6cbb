#pragma once

#include "tools/import/material_keys.h"

#include "kelvo/sdk/input.h"

#include <assimp/material.h>

#include <vector>

namespace qv::model_import {

/// The data of one material property, decoded.
class MaterialProperty {
public:
    explicit MaterialProperty(const aiMaterialProperty& source);

    [[nodiscard]] bool isText() const noexcept { return m_isText; }
    [[nodiscard]] const String& text() const noexcept { return m_text; }
    /// Returns the numbers; empty for texts, and for bytes that are not a single number.
    [[nodiscard]] const std::vector<double>& numbers() const noexcept { return m_numbers; }

    /// Returns the kind that fits the data; `isColor` tells whether three or four numbers are a
    /// colour.
    [[nodiscard]] kelvo_sdk::AttrType naturalType(bool isColor) const noexcept;

    /// Writes the value to an input; false when it does not convert.
    [[nodiscard]] bool writeTo(const kelvo_sdk::Input& input,
                               std::span<const std::string_view> choices) const;

private:
    bool writeTuple(const kelvo_sdk::Input& input) const;
    bool writeBytes(const kelvo_sdk::Input& input) const;

    const aiMaterialProperty& m_source;
    bool m_isText = false;
    bool m_isWhole = false;
    String m_text;
    std::vector<double> m_numbers;
};

} // namespace qv::model_import
