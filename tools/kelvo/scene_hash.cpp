#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/hash.h"
#include "tools/kelvo/node_parts.h"

#include <algorithm>
#include <cinttypes>
#include <vector>

namespace qv::kelvo_tool {

using kelvo_sdk::SnapshotNode;

u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip) {
    u64 hash = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const auto* node = scene->node(i);
        if (!node->isTypeOf(skip)) hash = hashMix(hash, node->hash(skip));
    }
    return hash;
}

u64 sceneHash(const ds::Vector<SnapshotNode>& nodes) {
    using Hashes = std::vector<u64>;
    const auto add = [](Hashes& hashes, const SnapshotNode& node) {
        hashes.push_back(node.hash());
    };
    u64 hash = 0;
    for (const Hashes& part : partsOf<Hashes>(nodes, add))
        for (const u64 own : part)
            hash = hashMix(hash, own);
    return hash;
}

bool hasModifiers(const SnapshotNode& node) {
    static const String name("modifiers");
    return node[name].inputCount() != 0;
}

bool hasModifiers(const ds::Vector<SnapshotNode>& nodes) {
    const auto found = partsOf<u8>(nodes, [](u8& isFound, const SnapshotNode& node) {
        if (isFound == 0 && hasModifiers(node)) isFound = 1;
    });
    return std::ranges::find(found, u8{1}) != found.end();
}

String hashText(u64 hash) {
    return String::format("%016" PRIx64, std::uint64_t{hash});
}

} // namespace qv::kelvo_tool
