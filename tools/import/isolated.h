#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/types.h"

#include <functional>

namespace qv::model_import {

/// Runs `work` in a child process and returns its result, from 0 to 255.
///
/// For work that calls readers of foreign files, which may crash or never end. In these cases
/// returns -1, with the reason in `error`; `seconds` limits the processor time. The child shares
/// the output of this process; none of its other effects remain. Needs a process without other
/// threads.
[[nodiscard]] int runIsolated(const std::function<int()>& work, u64 seconds, String& error);

/// Returns the seconds after which reading a model file counts as endless: far more than needed, in
/// proportion to the size of the file.
[[nodiscard]] u64 readingTime(const String& file);

} // namespace qv::model_import
