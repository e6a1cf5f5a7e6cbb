#pragma once

#include "kelvo/sdk/impl/value/value.h"

namespace qv::kelvo_sdk::impl {

/// Tells whether values of one kind can convert to another. Whether a given one does may depend on
/// it: 2.5 is no Int.
[[nodiscard]] bool kindsConvert(AttrType from, AttrType to) noexcept;

/// Converts a value; false, `out` unchanged, when it does not convert or does not fit. Text becomes
/// no node here: that takes a scene.
bool convertValue(const Value& from, AttrType to, Value& out);

} // namespace qv::kelvo_sdk::impl
