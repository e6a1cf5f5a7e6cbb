#pragma once

#include "kelvo/sdk/scene.h"

#include <string_view>
#include <unordered_map>

namespace qv::model_import {

/// Returns the simple identifier nearest to a text: each run of other characters becomes one '_',
/// and is dropped at the ends. Puts '_' before a leading digit. Empty when no character is left.
[[nodiscard]] String identifierFrom(std::string_view text);

/// Chooses names for the nodes of one import: identifiers, unique without regard to case.
class Names {
public:
    explicit Names(kelvo_sdk::Scene scene) : m_scene(std::move(scene)) {}

    /// Returns a free name made from the model's `original`, or from `type` if no letter or digit
    /// is left of it: "wheel", then "wheel_2".
    [[nodiscard]] String next(std::string_view original, const String& type);

private:
    [[nodiscard]] String unused(const String& name);

    kelvo_sdk::Scene m_scene;
    // By name in lower case: the last number used.
    std::unordered_map<String, u64> m_lastNumber;
};

} // namespace qv::model_import
