#pragma once

#include "tests/laws/oom_world.h"

#include <map>
#include <string>
#include <vector>

namespace qv::tests {

/// All that can be seen of a scene.
struct OomPortrait {
    explicit OomPortrait(const OomWorld& world);

    /// Returns what is other than in `expected`, empty when nothing is. Nodes that are dirty in
    /// vain are no difference: caches may forget.
    [[nodiscard]] std::string differenceFrom(const OomPortrait& expected) const;

    std::string text;
    // The evaluated value of each input, and each node's hash.
    std::string values;
    std::string history;
    std::map<std::string, bool> dirty;
    OomWitness::Counts told;
};

/// Undoes all and does it all again; returns the texts on the way.
[[nodiscard]] std::vector<std::string> oomHistory(const Scene& scene);

/// Returns whatever laws of the scene do not hold.
[[nodiscard]] std::string oomFaults(const Scene& scene);

} // namespace qv::tests
