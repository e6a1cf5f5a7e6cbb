#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"

namespace qv::kelvo_sdk::interfaces {

/// One step of a scene's history.
struct UndoStep {
    /// Names of the step for redo and for undo.
    String doText;
    String undoText;
    /// Paths of inputs and outputs and names of nodes that the step changes, each once.
    StringVector touched;
    /// Memory of the step in bytes.
    u64 bytes = 0;
};

/// The size of a scene's history: it keeps the newest steps that are within both bounds. A bound of
/// 0 keeps no step.
struct UndoLimits {
    u64 bytes = u64{256} << 20;
    u64 steps = 1000;
};

} // namespace qv::kelvo_sdk::interfaces
