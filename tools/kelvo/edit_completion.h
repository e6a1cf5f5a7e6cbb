#pragma once

#include "tools/kelvo/edit_session.h"

#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_tool {

/// Completions of the word being typed.
struct Completion {
    /// The number of bytes before the cursor that a completion replaces.
    u64 length = 0;
    /// In order; completions that can be continued end with '.' or '['.
    std::vector<std::string> texts;
};

/// Completes the part of a line in front of the cursor: commands, names of nodes and types, paths
/// of inputs and outputs, kinds, checkpoints.
[[nodiscard]] Completion complete(const EditSession& session, std::string_view line);

} // namespace qv::kelvo_tool
