#pragma once

#include <cstdint>

// The shape of the measured scenes, for the benchmarks of this library and of its peers alike.
namespace qv::bench {

/// The number of children of each node in a tree, except the last ones.
inline constexpr std::int64_t kTreeFanout = 10;

/// Returns the index of a node's parent in a tree whose nodes are numbered level by level.
constexpr std::int64_t treeParent(std::int64_t node) {
    return (node - 1) / kTreeFanout;
}

/// Returns the number of nodes on the way from the root of a tree to its last node.
constexpr std::int64_t treePathLength(std::int64_t count) {
    std::int64_t length = 1;
    for (std::int64_t node = count - 1; node > 0; node = treeParent(node))
        ++length;
    return length;
}

/// Two texts that are set alternately, too long to be stored without an allocation.
inline constexpr const char* kLongTexts[] = {"a string of more than 23 characters, A",
                                             "a string of more than 23 characters, B"};

} // namespace qv::bench
