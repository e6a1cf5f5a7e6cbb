#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_tool {

/// How a run ends.
enum class Status : int {
    Ok = 0,
    /// A file or the scene in it is at fault.
    Fault = 1,
    /// The command line is.
    Usage = 2,
};

/// Writes "kelvo: message" as one line to the standard error stream; control characters, which a
/// file could bring in, become '?'.
void complain(const String& message);
/// The same with "warning: " in front.
void warn(const String& message);
/// The same with "note: ".
void remark(const String& message);
/// Complains that the memory ran out, and takes none for it.
void complainOfMemory() noexcept;

} // namespace qv::kelvo_tool
