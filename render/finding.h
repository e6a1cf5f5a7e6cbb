#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/snapshot.h"

namespace qv::render {

/// Something in a scene that cannot be rendered as it is. The rest is rendered.
struct Finding {
    kelvo_sdk::NodeNumber number = kelvo_sdk::noNodeNumber;
    String node;
    /// A sentence without the name of the node.
    String text;

    [[nodiscard]] bool operator==(const Finding&) const = default;
};

} // namespace qv::render
