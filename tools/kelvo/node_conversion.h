#pragma once

#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Converts a node to another type, as `Node::convertTo` does. In a scene without types only that
/// node changes, and connections of other nodes that its new type no longer supports; the text of
/// all other nodes stays. Refer to nodes by name afterwards, as they may be new objects. False with
/// the first reason in `error`, if it was not logged.
[[nodiscard]] bool convertNode(const kelvo_sdk::Scene& scene, const kelvo_sdk::Node& node,
                               const String& type, kelvo_sdk::ConversionLosses& losses,
                               String& error);

} // namespace qv::kelvo_tool
