// ---- Snapshots -------------------------------------------------------------------------
// The first snapshot makes a follower that notes changes for the next one.

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/snapshot_keeper.h"

namespace qv::kelvo_sdk::impl {

RefersTo<SnapshotPicture> Scene::takeSnapshot(const SnapshotOptions& options) {
    {
        const std::lock_guard lock(m_observerMutex);
        if (!m_snapshots) {
            m_snapshots = std::make_unique<SnapshotKeeper>(*this);
            m_followers.join(*m_snapshots);
        }
    }
    return static_cast<SnapshotKeeper&>(*m_snapshots).take(options);
}

} // namespace qv::kelvo_sdk::impl
