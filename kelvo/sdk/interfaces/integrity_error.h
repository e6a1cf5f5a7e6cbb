#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk::interfaces {

/// One law of a scene that does not hold, which no edit brings about: a fault of the program.
struct IntegrityError {
    /// Path of the node, input or output, as "lamp.target"; empty for the scene as a whole.
    String place;
    /// The error, to stand behind the place: "links to a node that is not of the scene".
    String message;
};

using IntegrityErrors = ds::Vector<IntegrityError>;

} // namespace qv::kelvo_sdk::interfaces
