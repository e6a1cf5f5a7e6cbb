#pragma once

#include "kelvo/sdk/impl/value/value.h"

namespace qv::kelvo_sdk::impl {

/// Tells whether values of one kind can convert to another. Single values may still fail: 2.5 is
/// not an Int.
[[nodiscard]] bool kindsConvert(AttrType from, AttrType to) noexcept;

/// Converts a value; false, with `out` unchanged, when it does not convert or does not fit. Text
/// does not convert to a node here: that takes a scene.
bool convertValue(const Value& from, AttrType to, Value& out);

} // namespace qv::kelvo_sdk::impl
