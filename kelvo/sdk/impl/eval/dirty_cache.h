#pragma once

#include "kelvo/base/types.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class Scene;

/// Keeps the dirty flag of every node of a scene true to what the node depends on, as changes come
/// in: what links or connects to a dirty node is dirty too. Each change costs in proportion to the
/// flags that it turns, so that a query need look at one flag only.
///
/// A node that is marked clean before what it depends on stays clean until the next change of the
/// scene, which finds it dirty again, unless all that it depends on is clean by then.
class DirtyCache {
public:
    /// Looks through all nodes of the scene, which must outlive the cache.
    explicit DirtyCache(Scene& scene);

    /// The node changed, and its flag is set; `wasDirty` tells whether it was before.
    void changed(const Node& node, bool wasDirty) noexcept;
    /// The node is about to be marked clean.
    void cleaning(Node& node) noexcept;
    /// The node came into the scene, links and all.
    void added(Node& node) noexcept;
    /// The node leaves the scene.
    void removed(Node& node) { m_early.erase(&node); }

private:
    void markAll() noexcept;
    void recheckEarly();
    void spread(const Node& from);

    Scene& m_scene;
    // Marked clean while something they depend on was dirty: the exceptions to the law.
    std::unordered_set<Node*> m_early;
    std::vector<const Node*> m_left;
};

} // namespace qv::kelvo_sdk::impl
