#pragma once

#include "kelvo/sdk/impl/value/attr_data.h"

namespace qv::kelvo_sdk::impl {

/// Returns why a description does not accept a value: "The value 3 is above the maximum 2." Names
/// all allowed values, and the choice that was probably meant.
[[nodiscard]] String refusalOf(const AttrDetails& details, const Value& value);

/// Returns the end of that sentence: "is above the maximum 2."
[[nodiscard]] String refusalReason(const AttrDetails& details, const Value& value);

} // namespace qv::kelvo_sdk::impl
