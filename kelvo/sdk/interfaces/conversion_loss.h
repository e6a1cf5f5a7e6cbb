#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk::interfaces {

/// An attribute, value or connection that a node lost when it was converted to another type.
struct ConversionLoss {
    /// Path of the input or output, as "lamp.size"; for a lost connection from another node, the
    /// path of that node's input.
    String path;
    /// The reason, to follow the path in a message: "is an Int: '2.5' does not convert".
    String reason;
};

using ConversionLosses = ds::Vector<ConversionLoss>;

} // namespace qv::kelvo_sdk::interfaces
