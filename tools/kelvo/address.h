#pragma once

#include "kelvo/sdk/scene.h"

namespace qv::kelvo_tool {

/// The target of a path like "lamp.radius" or "rig.joints[3].weight".
struct Address {
    kelvo_sdk::Node node;
    /// Empty when the path is a node's name alone.
    kelvo_sdk::Input input;
};

/// Says whether "[+]" may add an element.
enum class Append { Refused, Allowed };

/// Follows a path; "[+]", where allowed, adds an element. False with a sentence in `error`, which
/// names the nearest known name where one is likely.
[[nodiscard]] bool findAddress(const kelvo_sdk::Scene& scene, const String& path, Append append,
                               Address& address, String& error);

/// Returns "no node 'x': did you mean 'y'?" for a name that no node has.
[[nodiscard]] String noSuchNode(const kelvo_sdk::Scene& scene, const String& name);

} // namespace qv::kelvo_tool
