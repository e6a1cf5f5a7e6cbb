#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/graph/spot.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// Updates the dirty flags of all nodes of a scene with each change: a node that links or connects
/// to a dirty node is dirty too. A change takes time in proportion to the flags that it sets, and a
/// query reads one flag only.
///
/// A node that is marked clean before its dependencies stays clean until the next change of the
/// scene. That change makes it dirty again, unless all its dependencies are clean by then.
class DirtyCache : public SceneFollower {
public:
    /// Updates the flags of all nodes of the scene, which must outlive the cache.
    explicit DirtyCache(Scene& scene);

    void nodeChanged(const Node& node, const Input* input, bool wasDirty) noexcept override;
    void nodeCleaning(Node& node) noexcept override;
    void nodeEntered(Node& node) noexcept override;
    void nodeTakenOut(Node& node) noexcept override { m_early.erase(&node); }

private:
    // A copy of a node's flag. The nodes are far apart in memory, so reading copies is faster.
    enum class Known : u8 { Clean, Turning, Dirty };
    struct Turned {
        Node* node;
        NodeNumber number;
    };

    void markAll() noexcept;
    void recheckEarly();
    void spread(const Node& from);
    [[nodiscard]] bool turns(Spot spot, Node& reader);
    void note(const Node& node, Known known) noexcept;

    Scene& m_scene;
    // The nodes that were marked clean while a dependency was dirty: the exceptions to the law.
    std::unordered_set<Node*> m_early;
    std::vector<Spot> m_pending;
    std::vector<Turned> m_turned;
    // By number. A node may be dirty although it is clean here, but not the other way round.
    std::vector<Known> m_known;
};

} // namespace qv::kelvo_sdk::impl
