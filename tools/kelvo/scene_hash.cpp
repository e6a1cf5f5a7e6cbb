#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/hash.h"
#include "kelvo/base/workers.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <vector>

namespace qv::kelvo_tool {

u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip) {
    u64 hash = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const auto* node = scene->node(i);
        if (!node->isTypeOf(skip)) hash = hashMix(hash, node->hash(skip));
    }
    return hash;
}

namespace {

// Calls `visit(i)` for all positions of nodes, on several threads.
template<typename Visit>
void forEachNode(u64 count, const Visit& visit) {
    constexpr u64 nodesAtOnce = 1024;
    Workers().run((count + nodesAtOnce - 1) / nodesAtOnce, [&](u64 part) {
        const u64 end = std::min((part + 1) * nodesAtOnce, count);
        for (u64 i = part * nodesAtOnce; i < end; ++i)
            visit(i);
    });
}

} // namespace

u64 sceneHash(const ds::Vector<kelvo_sdk::SnapshotNode>& nodes) {
    std::vector<u64> hashes(nodes.size());
    forEachNode(nodes.size(), [&](u64 i) { hashes[i] = nodes[i].hash(); });
    u64 hash = 0;
    for (const u64 own : hashes)
        hash = hashMix(hash, own);
    return hash;
}

bool hasModifiers(const kelvo_sdk::SnapshotNode& node) {
    static const String name("modifiers");
    return node[name].inputCount() != 0;
}

bool hasModifiers(const ds::Vector<kelvo_sdk::SnapshotNode>& nodes) {
    std::atomic<bool> isFound = false;
    forEachNode(nodes.size(), [&](u64 i) {
        if (hasModifiers(nodes[i])) isFound.store(true, std::memory_order_relaxed);
    });
    return isFound;
}

String hashText(u64 hash) {
    return String::format("%016" PRIx64, std::uint64_t{hash});
}

} // namespace qv::kelvo_tool
