#pragma once

#include "tools/kelvo/edit_session.h"

#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_tool {

/// Words that may stand where someone writes.
struct Completion {
    /// How many bytes in front of the cursor are replaced by one of them.
    u64 length = 0;
    /// In order; those that may go on end with '.' or '['.
    std::vector<std::string> texts;
};

/// Tells what may stand at the end of the part of a line in front of the cursor: commands, names of
/// nodes and types, paths of inputs and outputs, kinds, checkpoints.
[[nodiscard]] Completion complete(const EditSession& session, std::string_view line);

} // namespace qv::kelvo_tool
