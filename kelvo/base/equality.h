#pragma once

#include "kelvo/base/types.h"

#include <functional>

namespace qv {

/// Compares by `equals` where the type has it, which spares handles the copy their `==` takes.
template<class T>
[[nodiscard]] bool sameValue(const T& a, const T& b) {
    if constexpr (requires { a.equals(b); })
        return a.equals(b);
    else
        return a == b;
}

/// Hash of a key: its own `hash()` where it has one, else that of the standard library.
template<class K>
[[nodiscard]] u64 keyHash(const K& key) {
    if constexpr (requires { key.hash(); })
        return key.hash();
    else
        return std::hash<K>{}(key);
}

} // namespace qv
