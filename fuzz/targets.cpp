#include "fuzz/targets.h"

#include <cstdio>
#include <cstdlib>

namespace qv::fuzz {

namespace {

constexpr Target kTargets[] = {
    {"scene_text", &runSceneText},
    {"definition_text", &runDefinitionText},
    {"patch", &runPatch},
    {"merge", &runMerge},
    {"path", &runPath},
    {"edit_script", &runEditScript},
    {"icon", &runIcon},
    {"stored_scene", &runStoredScene},
};

} // namespace

std::span<const Target> targets() {
    return kTargets;
}

const Target* findTarget(std::string_view name) {
    for (const Target& target : kTargets)
        if (name == target.name) return &target;
    return nullptr;
}

void require(bool holds, const char* law) {
    if (holds) return;
    std::fprintf(stderr, "This law does not hold: %s.\n", law);
    std::abort();
}

} // namespace qv::fuzz
