#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

namespace qv::kelvo_tool {

/// The target of a path like "lamp.radius" or "rig.joints[3].weight".
struct Address {
    kelvo_sdk::Node node;
    /// Empty when the path is only the name of a node.
    kelvo_sdk::Input input;
};

/// Tells whether "[+]" may add an element.
enum class Append { Refused, Allowed };

/// Follows a path; "[+]", where allowed, adds an element. False with a sentence in `error`, which
/// suggests a similar name if there is one.
[[nodiscard]] bool findAddress(const kelvo_sdk::Scene& scene, const String& path, Append append,
                               Address& address, String& error);

/// The same in a snapshot.
struct Place {
    kelvo_sdk::SnapshotNode node;
    kelvo_sdk::SnapshotInput input;
};

/// Follows a path; without a node where `findAddress` fails.
[[nodiscard]] Place placeAt(const kelvo_sdk::Snapshot& scene, const String& path);

/// Returns "no node 'x': did you mean 'y'?" for an unknown name of a node.
[[nodiscard]] String noSuchNode(const kelvo_sdk::Scene& scene, const String& name);
[[nodiscard]] String noSuchNode(const kelvo_sdk::Snapshot& scene, const String& name);

} // namespace qv::kelvo_tool
