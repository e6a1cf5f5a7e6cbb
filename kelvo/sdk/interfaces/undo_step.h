#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"

namespace qv::kelvo_sdk::interfaces {

/// One step of a scene's history.
struct UndoStep {
    /// Names for doing the step and for taking it back.
    String doText;
    String undoText;
    /// Paths of inputs and outputs and names of nodes that it is about, each once.
    StringVector touched;
    /// Memory that the step takes.
    u64 bytes = 0;
};

/// How much a scene's history keeps: the newest steps that are within both bounds. A bound of 0
/// keeps none.
struct UndoLimits {
    u64 bytes = u64{256} << 20;
    u64 steps = 1000;
};

} // namespace qv::kelvo_sdk::interfaces
