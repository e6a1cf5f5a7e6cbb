#pragma once

#include "tools/kelvo/edit_session.h"
#include "tools/kelvo/message.h"

namespace qv::kelvo_tool {

/// Lets someone at a terminal edit a scene, line by line, until he leaves.
[[nodiscard]] Status runPrompt(EditSession& session);

} // namespace qv::kelvo_tool
