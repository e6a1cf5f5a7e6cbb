#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/impl/graph/spot.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class Scene;

/// Hashes of everything that the results of a node depend on: its name, type, bases, callback, user
/// data and inputs, and those of all its dependencies.
///
/// A hash is computed on request, together with the hashes of the dependencies, and forgotten when
/// a dependency changes. A change takes time in proportion to the hashes that are forgotten.
///
/// Unlike `Node::hash`, it includes the directory of a path node, which callbacks may read.
class EvalHashes {
public:
    explicit EvalHashes(const Scene& scene) : m_scene(scene) {}

    /// Returns 0 when the node depends on a node outside of the scene, as changes of such a node
    /// are not notified.
    [[nodiscard]] u64 of(const Node& node);
    /// Call when the node changed or was removed.
    void forget(const Node& node) noexcept;
    /// Gives the node a new hash, although its name, inputs and so on may be the same.
    void renew(const Node& node) noexcept;
    /// Call when the node was added: it had no hash before, but nodes that read it may have one.
    void nodeAdded(const Node& node) noexcept;

private:
    class Walk;

    // The hash of a node; the node is null while its number has none.
    struct Known {
        const Node* node = nullptr;
        u64 hash = 0;
    };

    [[nodiscard]] const Known* find(const Node& node) const noexcept;
    // False when the node has no hash.
    bool erase(const Node& node) noexcept;
    void forgetReaders(const Node& node) noexcept;
    [[nodiscard]] u64 renewalOf(const Node& node) const noexcept;

    const Scene& m_scene;
    // By number in the scene. All dependencies of a node with a hash have one too, except nodes
    // outside of the scene.
    std::vector<Known> m_known;
    // The number of the last renewal of each node, and of the last renewal of all nodes.
    std::unordered_map<const Node*, u64> m_renewals;
    u64 m_renewalOfAll = 0;
    u64 m_renewalCount = 0;
    std::vector<Spot> m_pending;
};

} // namespace qv::kelvo_sdk::impl
