#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

/// Returns the ending of a file name with a dot in front, as users may leave the dot out; empty for
/// none.
[[nodiscard]] inline String withDot(const String& ext) {
    return ext.isEmpty() || ext.startsWith(".", false) ? ext : String('.') + ext;
}

} // namespace qv::kelvo_sdk::impl
