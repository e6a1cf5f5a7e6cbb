// ---- Edits -----------------------------------------------------------------------------
// Edits nest; the outermost is one step of the history. Groups only announce that more edits
// follow, so that followers wait for the last one.

#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

void Scene::beginEdit() {
    m_history.begin();
}

// Only the end of the outermost edit notifies observers, which may drop the last reference to the
// scene.
void Scene::recordEdit(String doText, String undoText) {
    const RefersTo<Scene> self(m_history.depth() == 1 ? this : nullptr);
    m_history.end(std::move(doText), std::move(undoText));
}

u64 Scene::editDepth() const {
    return m_history.depth();
}

void Scene::cancelEdit(u64 depth) {
    const RefersTo<Scene> self(this);
    m_history.cancel(depth);
}

void Scene::beginEditGroup() {
    ++m_groupDepth;
}

void Scene::endEditGroup() {
    if (m_groupDepth > 0) --m_groupDepth;
    editEnded();
}

bool Scene::isEditing() const noexcept {
    return m_groupDepth != 0 || !m_history.isIdle();
}

void Scene::editEnded() noexcept {
    if (isEditing() || m_followers.empty()) return;
    const RefersTo<Scene> self(this);
    m_followers.each([](SceneFollower& follower) { follower.editsEnded(); });
}

} // namespace qv::kelvo_sdk::impl
