#pragma once

#include "kelvo/base/workers.h"
#include "kelvo/sdk/snapshot.h"

#include <algorithm>
#include <vector>

namespace qv::kelvo_tool {

/// Asks many nodes on several threads. Calls `add(part, node)` for successive nodes with the same
/// part, and returns the parts in the order of the nodes.
template<typename Part, typename Add>
[[nodiscard]] std::vector<Part> partsOf(const ds::Vector<kelvo_sdk::SnapshotNode>& nodes,
                                        const Add& add) {
    constexpr u64 nodesAtOnce = 4096;
    std::vector<Part> parts((nodes.size() + nodesAtOnce - 1) / nodesAtOnce);
    Workers().run(parts.size(), [&](u64 number) {
        const u64 end = std::min<u64>((number + 1) * nodesAtOnce, nodes.size());
        for (u64 i = number * nodesAtOnce; i < end; ++i)
            add(parts[number], nodes[i]);
    });
    return parts;
}

} // namespace qv::kelvo_tool
