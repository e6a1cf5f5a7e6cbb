#pragma once

#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/index/node_table_follower.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/snapshot.h"

#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

class RecordMaker;
class Scene;

/// Takes the snapshots of a scene. Notes which nodes change, so that a snapshot makes records of
/// those only and shares the rest with the snapshot before.
class SnapshotKeeper : public SceneFollower, public NodeTableFollower {
public:
    /// Borrows the scene, which must outlive the keeper.
    explicit SnapshotKeeper(Scene& scene);
    ~SnapshotKeeper() override;

    /// Returns a snapshot of the present state. Throws std::bad_alloc and changes nothing when
    /// memory is out.
    [[nodiscard]] RefersTo<SnapshotPicture> take(const SnapshotOptions& options);

    void nodeEntered(Node& node) noexcept override;
    void nodeTakenOut(Node& node) noexcept override;
    void nodeChanged(const Node& node, const Input* input, bool wasDirty) noexcept override;
    void nodeDescribed(const Node& node) noexcept override;

    void inserted(u64 index, NodeNumber number) noexcept override;
    void removed(u64 index) noexcept override;
    [[nodiscard]] u64 nextUse() const noexcept override { return m_line->store.next(); }
    [[nodiscard]] u64 oldestUse() const noexcept override { return m_line->store.oldest(); }

private:
    // A node that changed since the last snapshot, and the first input whose value did, null when
    // the first change was another.
    struct Change {
        NodeNumber number;
        const Input* input;
    };

    [[nodiscard]] RefersTo<SnapshotPicture> takeAsSet(u32 threads);
    void note(NodeNumber number, const Input* input = nullptr) noexcept;
    void update(u32 threads);
    void followLibraries();
    [[nodiscard]] bool hasOneValue(const Change& change) const noexcept;
    void makeRoom(u64 numbers);
    void updateFile();
    [[nodiscard]] NodeNumber numberBehind(const UnreadLines& lines) const;
    void updateChanged();
    void rebuild(u32 threads);
    void fetchAhead(std::size_t next) const noexcept;
    void replace(const Change& change, RecordMaker& maker);
    void install(NodeNumber number, NodeRecord* made);
    void forgetChanges() noexcept;

    Scene& m_scene;
    RefersTo<SnapshotLine> m_line;
    // Serialises threads that take snapshots while nobody edits.
    std::mutex m_mutex;
    std::vector<Change> m_changed;
    // By number: the nodes that changed, and those of which more than the value of one input did.
    std::vector<bool> m_isChanged;
    std::vector<bool> m_isChangedWidely;
    // The libraries whose types the records refer to.
    std::vector<RefersTo<interfaces::ILibInfo>> m_libraries;
    // The comments of the text as a whole that the last snapshot has.
    Comments m_file;
    // Set when a node that unread lines stand before has left the scene.
    bool m_isFileLost = false;
    // Set at first, and when memory was out: the tables have to be made again.
    bool m_isLost = true;
};

} // namespace qv::kelvo_sdk::impl
