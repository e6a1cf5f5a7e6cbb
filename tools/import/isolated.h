#pragma once

#include "base/string.h"

#include <functional>

namespace qv::model_import {

/// Runs `work` in a process of its own and returns what it returns, from 0 to 255.
///
/// For work that calls readers of foreign files, which may crash. Then -1, and `error` says of
/// what. Its output goes where this process's goes; nothing else that it changes outlives it. Needs
/// a process without other threads.
[[nodiscard]] int runIsolated(const std::function<int()>& work, String& error);

} // namespace qv::model_import
