#pragma once

#include "kelvo/base/workers.h"
#include "kelvo/sdk/snapshot.h"

#include <algorithm>
#include <vector>

namespace qv::kelvo_tool {

/// Asks all nodes of a snapshot on several threads, without keeping them in memory. Calls
/// `add(part, node)` for successive nodes with the same part, and returns the parts in the order of
/// the nodes.
template<typename Part, typename Add>
[[nodiscard]] std::vector<Part> partsOf(const kelvo_sdk::Snapshot& scene, const Add& add) {
    constexpr u64 nodesAtOnce = 4096;
    std::vector<Part> parts((scene.nodeCount() + nodesAtOnce - 1) / nodesAtOnce);
    Workers().run(parts.size(), [&](u64 number) {
        Part& part = parts[number];
        scene.visitNodes(number * nodesAtOnce, (number + 1) * nodesAtOnce,
                         [&](const kelvo_sdk::SnapshotNode& node) { add(part, node); });
    });
    return parts;
}

} // namespace qv::kelvo_tool
