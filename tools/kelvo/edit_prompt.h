#pragma once

#include "tools/kelvo/edit_session.h"
#include "tools/kelvo/message.h"

namespace qv::kelvo_tool {

/// Edits a scene interactively at a terminal, line by line, until the user leaves.
[[nodiscard]] Status runPrompt(EditSession& session);

} // namespace qv::kelvo_tool
