#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/impl/graph/spot.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class Scene;

/// Hashes of all that the results of a node depend on: its own name, type, bases, callback, user
/// data and inputs, and the same of every node that it is connected or linked to, at any distance.
///
/// A hash is worked out when asked for, together with those below it, and forgotten when something
/// below it changes: a change costs in proportion to the hashes that it makes unknown.
///
/// Unlike `Node::hash`, it counts the directory of a path node, which callbacks may read.
class EvalHashes {
public:
    explicit EvalHashes(const Scene& scene) : m_scene(scene) {}

    /// Returns 0 when the node depends on one outside the scene, whose changes nobody tells.
    [[nodiscard]] u64 of(const Node& node);
    /// The node is about to come into the scene, left it, or changed.
    void forget(const Node& node) noexcept;
    /// The node is another one from now on, although it may look the same.
    void renew(const Node& node) noexcept;
    /// Outside nodes are not known, yet what reads them may be.
    void nodeAdded(const Node& node) noexcept;

private:
    friend class EvalHashWalk;

    void forgetReaders(const Node& node) noexcept;
    [[nodiscard]] u64 renewalOf(const Node& node) const noexcept;

    const Scene& m_scene;
    // A known node depends on known nodes only, apart from nodes outside the scene.
    std::unordered_map<const Node*, u64> m_known;
    // The number of the last renewal of each node, and of the last one that counts for all.
    std::unordered_map<const Node*, u64> m_renewals;
    u64 m_renewalOfAll = 0;
    u64 m_renewalCount = 0;
    std::vector<Spot> m_pending;
};

} // namespace qv::kelvo_sdk::impl
