#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

namespace qv::kelvo_tool {

/// The text of a few nodes of a snapshot: of one node and those that an input of it needs. Scenes
/// that read it are small, however large the snapshot is.
class ScenePart {
public:
    /// For an input whose value comes from elsewhere, takes all nodes that its node depends on; for
    /// another one, nodes of the names that it links to. `input` is empty for one that the snapshot
    /// leaves to the type of the node.
    ScenePart(const kelvo_sdk::Snapshot& scene, const kelvo_sdk::SnapshotNode& node,
              const kelvo_sdk::SnapshotInput& input);

    /// Reads the text into an empty scene; false when the input may need further nodes.
    [[nodiscard]] bool read(const kelvo_sdk::Scene& made) const;

private:
    String m_text;
    // Other inputs of the node may link to nodes that are left out.
    bool m_isPartial = false;
    bool m_isComplete = true;
};

} // namespace qv::kelvo_tool
