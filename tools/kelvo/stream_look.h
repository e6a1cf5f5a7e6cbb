#pragma once

#include "kelvo/base/types.h"

namespace qv::kelvo_tool {

/// The display abilities of a stream of this process.
struct StreamLook {
    /// Columns of a terminal; 0 for a file or another program, which get whole lines.
    u64 width = 0;
    /// True only for a terminal, and neither with a non-empty NO_COLOR nor with TERM "dumb".
    bool isColored = false;

    [[nodiscard]] bool isTerminal() const noexcept { return width != 0; }
};

/// Examines a descriptor. The variable COLUMNS overrides the terminal's width; both are read at
/// each call, as windows change.
[[nodiscard]] StreamLook lookOf(int descriptor);

/// Tells whether the standard error stream is a terminal that can show a changing line.
[[nodiscard]] bool errorsOnTerminal();

} // namespace qv::kelvo_tool
