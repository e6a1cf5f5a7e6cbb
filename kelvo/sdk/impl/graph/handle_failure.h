#pragma once

#include "kelvo/sdk/result.h"

namespace qv::kelvo_sdk::impl {

/// Returns the failure of an operation on an empty handle; `thing` is "scene", "node" and the like.
[[nodiscard]] inline Result emptyHandle(const char* thing) {
    return Result::failure(String::format("There is no %s: the handle is empty.", thing));
}

/// Returns a failure with the reason or, if that is empty, with `otherwise`.
[[nodiscard]] inline Result failureOf(const String& reason, const String& otherwise) {
    return Result::failure(reason.isEmpty() ? otherwise : reason);
}

/// Returns the outcome of adding or removing an observer.
template<typename Observer>
[[nodiscard]] Result subscribed(const Observer* observer, bool isDone, bool isAdding) {
    if (isDone) return {};
    if (!observer) return Result::failure("There is no observer: the pointer is null.");
    return Result::failure(isAdding ? "The observer is subscribed already."
                                    : "The observer is not subscribed.");
}

} // namespace qv::kelvo_sdk::impl
