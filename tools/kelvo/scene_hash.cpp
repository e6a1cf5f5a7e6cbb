#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/hash.h"
#include "tools/kelvo/node_parts.h"

#include <algorithm>
#include <cinttypes>

namespace qv::kelvo_tool {

using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;

u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip) {
    u64 hash = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const auto* node = scene->node(i);
        if (!node->isTypeOf(skip)) hash = hashMix(hash, node->hash(skip));
    }
    return hash;
}

u64 sceneHash(const Snapshot& scene) {
    using Hashes = std::vector<u64>;
    const auto add = [](Hashes& hashes, const SnapshotNode& node) {
        hashes.push_back(node.hash());
    };
    SceneHash hash;
    for (const Hashes& part : partsOf<Hashes>(scene, add))
        hash.add(part);
    return hash.value();
}

void SceneHash::add(const std::vector<u64>& hashes) noexcept {
    for (const u64 hash : hashes)
        m_value = hashMix(m_value, hash);
}

namespace {

const String& nameOfModifiers() {
    static const String name("modifiers");
    return name;
}

} // namespace

bool hasModifiers(const SnapshotNode& node) {
    return node[nameOfModifiers()].inputCount() != 0;
}

bool hasModifiers(const Snapshot& scene) {
    if (!scene.mayHaveInput(nameOfModifiers())) return false;
    const auto found = partsOf<u8>(scene, [](u8& isFound, const SnapshotNode& node) {
        if (isFound == 0 && hasModifiers(node)) isFound = 1;
    });
    return std::ranges::find(found, u8{1}) != found.end();
}

String hashText(u64 hash) {
    return String::format("%016" PRIx64, std::uint64_t{hash});
}

} // namespace qv::kelvo_tool
