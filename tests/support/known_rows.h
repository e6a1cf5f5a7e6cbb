#pragma once

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/scene.h"

namespace qv::tests {

/// Has the compact graph of a scene know all that can be known of its nodes, as if everything had
/// been walked; so that the next `verify` compares all of it with the nodes. Returns how many rows
/// are known then.
inline u64 fillRows(const kelvo_sdk::Scene& scene) {
    u64 known = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const auto* node = kelvo_sdk::impl::implOf(scene.node(i).get());
        const kelvo_sdk::impl::GraphReader reader(node);
        for (const auto kind : kelvo_sdk::impl::CompactGraph::allKinds)
            if (reader.row(kind, reader.spotOf(*node))) ++known;
    }
    return known;
}

} // namespace qv::tests
