#pragma once

#include "kelvo/base/types.h"

namespace qv::kelvo_sdk::interfaces {

/// Counters and size of a scene's result cache; all 0 while the cache is off.
struct EvalCacheFigures {
    /// Results that were asked for and found in the cache.
    u64 hits = 0;
    /// Results that were asked for and had to be evaluated.
    u64 misses = 0;
    u64 entries = 0;
    /// Approximate memory of the entries.
    u64 bytes = 0;
};

} // namespace qv::kelvo_sdk::interfaces
