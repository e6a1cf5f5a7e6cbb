#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk::interfaces {

/// One thing that a node lost when it was converted to another type.
struct ConversionLoss {
    /// Path of the input or output, as "lamp.size"; of the input that lost its connection, if that
    /// belongs to another node.
    String path;
    /// The reason, to stand behind the path: "is an Int: '2.5' does not convert".
    String reason;
};

using ConversionLosses = ds::Vector<ConversionLoss>;

} // namespace qv::kelvo_sdk::interfaces
