#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/graph/spot.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// Keeps the dirty flag of every node of a scene true to what the node depends on, as changes come
/// in: what links or connects to a dirty node is dirty too. Each change costs in proportion to the
/// flags that it turns, so that a query need look at one flag only.
///
/// A node that is marked clean before what it depends on stays clean until the next change of the
/// scene, which finds it dirty again, unless all that it depends on is clean by then.
class DirtyCache : public SceneFollower {
public:
    /// Looks through all nodes of the scene, which must outlive the cache.
    explicit DirtyCache(Scene& scene);

    void nodeChanged(const Node& node, bool wasDirty) noexcept override;
    void nodeCleaning(Node& node) noexcept override;
    void nodeEntered(Node& node) noexcept override;
    void nodeTakenOut(Node& node) noexcept override { m_early.erase(&node); }

private:
    // Of a node's flag, as far as that is known beside the node.
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
    // Marked clean while something they depend on was dirty: the exceptions to the law.
    std::unordered_set<Node*> m_early;
    std::vector<Spot> m_pending;
    std::vector<Turned> m_turned;
    // By number; a node that is clean here may be dirty, but not the other way round.
    std::vector<Known> m_known;
};

} // namespace qv::kelvo_sdk::impl
