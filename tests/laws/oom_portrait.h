#pragma once

#include "tests/laws/oom_world.h"

#include <map>
#include <string>
#include <vector>

namespace qv::tests {

/// The observable state of a scene.
struct OomPortrait {
    explicit OomPortrait(const OomWorld& world);

    /// Returns the difference from `expected`, empty if there is none. Nodes that are dirty without
    /// need are no difference: caches may forget.
    [[nodiscard]] std::string differenceFrom(const OomPortrait& expected) const;

    std::string text;
    // The evaluated value of each input, and each node's hash.
    std::string values;
    std::string history;
    std::map<std::string, bool> dirty;
    OomWitness::Counts told;
};

/// Undoes all steps and redoes them; returns the texts on the way, and the values at the end: the
/// text has no links to free nodes.
[[nodiscard]] std::vector<std::string> oomHistory(const Scene& scene);

/// Returns the laws that the scene breaks.
[[nodiscard]] std::string oomFaults(const Scene& scene);

} // namespace qv::tests
