#pragma once

#include "kelvo/base/types.h"

#include <functional>

namespace qv {

/// Compares by `equals` if the type has it, because `==` of handles copies them.
template<class T>
[[nodiscard]] bool sameValue(const T& a, const T& b) {
    if constexpr (requires { a.equals(b); })
        return a.equals(b);
    else
        return a == b;
}

/// Returns the hash of a key: its own `hash()` if it has one, else that of the standard library.
template<class K>
[[nodiscard]] u64 keyHash(const K& key) {
    if constexpr (requires { key.hash(); })
        return key.hash();
    else
        return std::hash<K>{}(key);
}

} // namespace qv
