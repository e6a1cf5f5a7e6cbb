// Three scene texts, separated by lines of "====": a change of one side alone is merged unchanged.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"
#include "kelvo/sdk/scene_diff.h"

#include <array>

namespace qv::fuzz {

namespace {

using kelvo_sdk::MergeConflict;
using kelvo_sdk::MergeOptions;
using kelvo_sdk::MergeSide;
using kelvo_sdk::Scene;
using kelvo_sdk::SceneDiff;

bool readThree(std::string_view input, std::array<Scene, 3>& scenes) {
    constexpr std::string_view mark = "====\n";
    for (Scene& scene : scenes) {
        const std::string_view text = input.substr(0, input.find(mark));
        scene = newScene(false);
        kelvo_sdk::Diagnostics ignored;
        if (!scene.read(String(text), "fuzz", &ignored)) return false;
        input.remove_prefix(std::min(text.size() + mark.size(), input.size()));
    }
    return true;
}

struct Merged {
    Scene scene = newScene(false);
    std::vector<MergeConflict> conflicts = {};
    bool isMade = false;

    Merged(const Scene& base, const Scene& mine, const Scene& theirs,
           const MergeOptions& options = {}) {
        const kelvo_sdk::Result merging =
            kelvo_sdk::mergeScenes(base, mine, theirs, options, scene, conflicts);
        isMade = merging;
        require(isMade == merging.message().isEmpty(), "scenes are merged, or it is told why not");
        if (isMade) requireSound(scene, false);
    }
};

void requireSame(const Merged& merged, const Scene& scene, const char* law) {
    require(merged.isMade && merged.conflicts.empty(), "what one side changed is no conflict");
    require(SceneDiff::between(merged.scene, scene).isEmpty(), law);
}

} // namespace

void runMerge(std::string_view input) {
    std::array<Scene, 3> scenes;
    if (!readThree(input, scenes)) return;
    const auto& [base, mine, theirs] = scenes;
    requireSame(Merged(base, base, base), base, "equal scenes are merged to the same");
    requireSame(Merged(base, mine, base), mine, "what mine alone changed is merged");
    requireSame(Merged(base, base, theirs), theirs, "what theirs alone changed is merged");
    requireSame(Merged(base, mine, mine), mine, "what both changed alike is merged");
    static_cast<void>(Merged(base, mine, theirs));
    static_cast<void>(Merged(base, mine, theirs, {.preferred = MergeSide::Mine}));
    static_cast<void>(Merged(base, mine, theirs, {.preferred = MergeSide::Theirs}));
}

} // namespace qv::fuzz
