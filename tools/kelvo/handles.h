#pragma once

#include "kelvo/sdk/node.h"

namespace qv::kelvo_tool {

/// Return a handle on a borrowed node or input, for reading alone.
[[nodiscard]] inline kelvo_sdk::Node handleOn(const kelvo_sdk::interfaces::INode& node) {
    return kelvo_sdk::Node(const_cast<kelvo_sdk::interfaces::INode*>(&node));
}
[[nodiscard]] inline kelvo_sdk::Input handleOn(const kelvo_sdk::interfaces::IInput& input) {
    return kelvo_sdk::Input(const_cast<kelvo_sdk::interfaces::IInput*>(&input));
}

} // namespace qv::kelvo_tool
