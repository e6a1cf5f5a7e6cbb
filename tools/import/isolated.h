#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/types.h"

#include <functional>

namespace qv::model_import {

/// Runs `work` in a process of its own and returns what it returns, from 0 to 255.
///
/// For work that calls readers of foreign files, which may crash or come to no end. Then -1, and
/// `error` says which; `seconds` limits the time of computing. Its output goes where this process's
/// goes; nothing else that it changes outlives it. Needs a process without other threads.
[[nodiscard]] int runIsolated(const std::function<int()>& work, u64 seconds, String& error);

/// Returns the seconds after which reading a model file counts as endless: far more than it takes,
/// in proportion to its size.
[[nodiscard]] u64 readingTime(const String& file);

} // namespace qv::model_import
