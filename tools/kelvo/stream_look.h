#pragma once

#include "kelvo/base/types.h"

namespace qv::kelvo_tool {

/// The abilities of a stream of this process to show text.
struct StreamLook {
    /// Columns of a line on a terminal; 0 for a file or another program, which get lines whole.
    u64 width = 0;
    /// Colours are for a terminal alone, unless NO_COLOR is set to something or TERM is "dumb".
    bool isColored = false;

    [[nodiscard]] bool isTerminal() const noexcept { return width != 0; }
};

/// Looks at a descriptor. The variable COLUMNS counts for more than what the terminal tells, and is
/// read like it at each call: windows change.
[[nodiscard]] StreamLook lookOf(int descriptor);

/// Tells whether the standard error stream is a terminal, fit for a line that changes.
[[nodiscard]] bool errorsOnTerminal();

} // namespace qv::kelvo_tool
