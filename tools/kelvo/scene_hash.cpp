#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/hash.h"

#include <cinttypes>

namespace qv::kelvo_tool {

u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip) {
    u64 hash = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const auto* node = scene->node(i);
        if (!node->isTypeOf(skip)) hash = hashMix(hash, node->hash(skip));
    }
    return hash;
}

String hashText(u64 hash) {
    return String::format("%016" PRIx64, std::uint64_t{hash});
}

} // namespace qv::kelvo_tool
