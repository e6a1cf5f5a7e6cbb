#pragma once

#include "kelvo/sdk/scene_diff.h"
#include "tests/support/scene_text.h"

#include <string>
#include <vector>

namespace qv::tests {

/// The outcome of a merge of three scene texts.
struct Merged {
    bool isMade = false;
    std::string text;
    /// One conflict per line, as "path field: base, mine, theirs; reason", '-' for an absent part.
    std::string conflicts;
    String error;
};

inline Merged merge(const std::string& base, const std::string& mine, const std::string& theirs,
                    const kelvo_sdk::MergeOptions& options = {}) {
    Merged made;
    std::vector<kelvo_sdk::MergeConflict> conflicts;
    const auto scene = kelvo_sdk::Scene::create();
    const kelvo_sdk::Result isMade =
        mergeScenes(sceneOf(base), sceneOf(mine), sceneOf(theirs), options, scene, conflicts);
    made.isMade = isMade;
    made.error = isMade.message();
    made.text = textOf(scene);
    for (const kelvo_sdk::MergeConflict& conflict : conflicts) {
        const auto shown = [](const std::optional<String>& text) {
            return std::string(text ? text->buf() : "-");
        };
        made.conflicts += std::string(made.conflicts.empty() ? "" : "\n") + conflict.path.buf() +
                          " " + conflict.field.buf() + ": " + shown(conflict.base) + ", " +
                          shown(conflict.mine) + ", " + shown(conflict.theirs);
        if (!conflict.reason.isEmpty()) made.conflicts += std::string("; ") + conflict.reason.buf();
    }
    return made;
}

} // namespace qv::tests
