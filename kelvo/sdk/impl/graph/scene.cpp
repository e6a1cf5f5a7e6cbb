// ---- Object and lifetime ---------------------------------------------------------------
// A scene holds one reference to each of its nodes. When it is destroyed, nodes with other
// references become free nodes, and links to its nodes are cleared without notifications.

#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_fetch.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_sdk {

Scene Scene::create() {
    return Scene(adoptRef, new impl::Scene);
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

// Makes the known names now, because there may be no memory for them at the first notification.
Scene::Scene() : m_modifiers(makeModifiers(*this)) {
    static_cast<void>(knownNames());
}

Scene::~Scene() {
    // No node may reach the scene any more, whatever its destructor causes in others.
    const auto membersAhead = [](u64 i, u64 count, const auto& nodeAt) {
        NodeFetch::membersAhead(i, count, nodeAt);
    };
    m_nodes.forEach(membersAhead, [](Node* node) {
        node->setScene(nullptr, {});
        node->setHasLeft(true, {});
    });
    m_followers.each([](SceneFollower& follower) { follower.sceneEnds(); });
    m_links.clear([](Input& input) { input.forgetLink({}); });
    m_stashLinks.clear([](Input& input) { input.forgetStashedLink({}); });
    const auto ahead = [](u64 i, u64 count, const auto& nodeAt) {
        NodeFetch::ahead(i, count, nodeAt);
    };
    m_nodes.forEach(ahead, [](Node* node) { node->decRef(); });
}

void Scene::incRef() {
    m_refCount.fetch_add(1);
}

void Scene::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

} // namespace qv::kelvo_sdk::impl
