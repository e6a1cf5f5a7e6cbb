#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_tool {

/// The exit status of a command.
enum class Status : int {
    Ok = 0,
    /// A file, or the scene in it, has an error.
    Fault = 1,
    /// The command line has an error.
    Usage = 2,
};

/// Writes "kelvo: message" as one line to the standard error stream; control characters, which may
/// come from a file, become '?'.
void complain(const String& message);
/// Writes a message with "warning: " in front.
void warn(const String& message);
/// Writes a message with "note: " in front.
void remark(const String& message);
/// Reports that memory ran out; allocates nothing.
void complainOfMemory() noexcept;

} // namespace qv::kelvo_tool
