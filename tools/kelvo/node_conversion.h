#pragma once

#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// Gives a node another type as `Node::convertTo` does. Of a scene that was read without the types
/// of its nodes only that node changes, and what it no longer gives to others: the text of all
/// others stays. References go by the node's name, as the nodes may be new objects. False with the
/// first reason in `error`, if it was not logged.
[[nodiscard]] bool convertNode(const kelvo_sdk::Scene& scene, const kelvo_sdk::Node& node,
                               const String& type, kelvo_sdk::ConversionLosses& losses,
                               String& error);

} // namespace qv::kelvo_tool
