#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/hash.h"
#include "kelvo/base/workers.h"

#include <algorithm>
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

u64 sceneHash(const ds::Vector<kelvo_sdk::SnapshotNode>& nodes) {
    constexpr u64 nodesAtOnce = 1024;
    std::vector<u64> hashes(nodes.size());
    Workers().run((nodes.size() + nodesAtOnce - 1) / nodesAtOnce, [&](u64 part) {
        const u64 end = std::min((part + 1) * nodesAtOnce, nodes.size());
        for (u64 i = part * nodesAtOnce; i < end; ++i)
            hashes[i] = nodes[i].hash();
    });
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
    return std::ranges::any_of(
        nodes, [](const kelvo_sdk::SnapshotNode& node) { return hasModifiers(node); });
}

String hashText(u64 hash) {
    return String::format("%016" PRIx64, std::uint64_t{hash});
}

} // namespace qv::kelvo_tool
