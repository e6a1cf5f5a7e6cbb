#pragma once

#include "kelvo/sdk/scene.h"

#include <string_view>
#include <unordered_map>

namespace qv::model_import {

/// Returns the simple identifier nearest to a text: runs of other characters become one '_', none
/// at the ends. Empty when nothing is left; a digit in front gets '_' before it.
[[nodiscard]] String identifierFrom(std::string_view text);

/// Finds names for the nodes of one import: identifiers, unique without regard to case.
class Names {
public:
    explicit Names(kelvo_sdk::Scene scene) : m_scene(std::move(scene)) {}

    /// Returns a free name made from the model's `original`, or from `type` when that says nothing:
    /// "wheel", then "wheel_2".
    [[nodiscard]] String next(std::string_view original, const String& type);

private:
    [[nodiscard]] String unused(const String& name);

    kelvo_sdk::Scene m_scene;
    // By name in lower case: the number that was given last.
    std::unordered_map<String, u64> m_lastNumber;
};

} // namespace qv::model_import
