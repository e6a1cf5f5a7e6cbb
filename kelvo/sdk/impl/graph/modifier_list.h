#pragma once

#include "kelvo/sdk/impl/graph/input.h"

namespace qv::kelvo_sdk::impl {

/// Returns the list of a node's modifiers, null when it is empty or absent.
[[nodiscard]] const Input* modifierListOf(const Node& node) noexcept;

/// Tells whether an input is the list of its node's modifiers, or an element of it.
[[nodiscard]] bool isModifierList(const Input& input) noexcept;

} // namespace qv::kelvo_sdk::impl
