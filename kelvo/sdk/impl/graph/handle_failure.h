#pragma once

#include "kelvo/sdk/result.h"

namespace qv::kelvo_sdk::impl {

/// The failure of an operation on an empty handle; `thing` is "scene", "node" and the like.
[[nodiscard]] inline Result emptyHandle(const char* thing) {
    return Result::failure(String::format("There is no %s: the handle is empty.", thing));
}

/// Fails with the reason or, where that is empty, with `otherwise`.
[[nodiscard]] inline Result failureOf(const String& reason, const String& otherwise) {
    return Result::failure(reason.isEmpty() ? otherwise : reason);
}

/// The outcome of an observer that was to be added, or taken off the list.
template<typename Observer>
[[nodiscard]] Result subscribed(const Observer* observer, bool isDone, bool isAdding) {
    if (isDone) return {};
    if (!observer) return Result::failure("There is no observer: the pointer is null.");
    return Result::failure(isAdding ? "The observer is subscribed already."
                                    : "The observer is not subscribed.");
}

} // namespace qv::kelvo_sdk::impl
