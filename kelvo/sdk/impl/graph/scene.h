#pragma once

#include "kelvo/base/only.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/graph/survivors.h"
#include "kelvo/sdk/impl/graph/tell_each.h"
#include "kelvo/sdk/impl/history/history.h"
#include "kelvo/sdk/impl/index/link_table.h"
#include "kelvo/sdk/impl/index/node_table.h"
#include "kelvo/sdk/interfaces/i_lib_info.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/interfaces/scene_observer.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace qv::kelvo_sdk {
struct SnapshotOptions;
}

namespace qv::kelvo_sdk::impl {

using interfaces::ConversionLosses;
using interfaces::IntegrityErrors;
using interfaces::IScene;
using interfaces::SceneObserver;

class BatchNotifier;
class EvalCache;
class Input;
class Modifiers;
class Node;
class NodeChange;
class NodeConverter;
class NodeExchange;
class NodeMove;
class NodeRename;
class Output;
class SceneBuilder;
class SnapshotKeeper;
class SnapshotPicture;

/// The one implementation of a scene. `IScene` has the contract of its operations.
///
///     Object and lifetime  scene.cpp            construction, destruction, counting
///     Nodes                scene_nodes.cpp      creating, finding, renaming, removing
///     Copies               scene_copies.cpp     cloning and converting nodes
///     Modifiers            scene_modify.cpp     applied as nodes change
///     Libraries            scene_libraries.cpp  the types of nodes
///     Edits                scene_edit.cpp       steps and groups
///     Undo                 scene_undo.cpp       undoing and redoing steps
///     Dirty state          scene_dirty.cpp      dirty flags of the scene and its nodes
///     Evaluation           scene_eval.cpp       the result cache
///     Notifications        scene_notify.cpp     calls of scene observers and followers
///     Batches              scene_batches.cpp    one notification for each edit
///     Snapshots            scene_snapshot.cpp   constant pictures
///     Laws                 scene_verify.cpp     the check of the whole scene
///
/// The functions by which nodes notify the scene of changes are virtual, so that an application can
/// derive a class that overrides them.
class Scene : public IScene, public HistoryOwner {
public:
    // ---- Object and lifetime ---------------------------------------------------------------
    // A scene holds one reference to each of its nodes. When it is destroyed, nodes with other
    // references become free nodes, and links to its nodes are cleared without notifications.

    QV_EXPORT Scene();
    QV_EXPORT ~Scene() override;
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void incRef() override;
    void decRef() override;

    // ---- Nodes -----------------------------------------------------------------------------
    // Names are unique without regard to case.

    [[nodiscard]] INode* findNode(String name) override;
    /// Is `findNode`, without a copy of the name.
    [[nodiscard]] Node* lookUpNode(const NameView& name) const noexcept {
        return m_nodes.find(name);
    }
    INode* createNode(String type, String name) override;
    /// Adds a free node at the end; a name in use gets the next free number. The scene takes a
    /// reference.
    bool addNode(Node* node);
    /// Removes a node again before any notification of its addition; allocates nothing.
    void dropUnnotified(Node& node, Only<SceneBuilder> key) noexcept;
    bool removeNode(INode* node) override;
    bool renameNode(INode* node, String name) override;
    bool moveNode(INode* node, u64 to) override;
    void clear() override;
    [[nodiscard]] u64 nodeCount() const override;
    [[nodiscard]] INode* node(u64 index) const override;
    [[nodiscard]] bool contains(const INode& node) const;
    /// Returns the position of a node of the scene.
    [[nodiscard]] u64 indexOf(const INode& node) const noexcept;
    /// Tells whether the library is initialising this node; its changes are not notified or
    /// recorded meanwhile.
    [[nodiscard]] bool isMaking(const INode* node) const noexcept {
        return !m_beingMade.empty() && std::ranges::find(m_beingMade, node) != m_beingMade.end();
    }
    /// Makes the library initialise a new node that belongs to the scene but is not in it yet.
    void initialise(Node& node);
    /// Calls `visit(INode*)` for each node in creation order.
    template<typename Visit>
    void forEachNode(const Visit& visit) const {
        m_nodes.forEach(visit);
    }
    /// Returns `name`, or the next free name made from it by a number.
    [[nodiscard]] String freeName(const String& name) const;
    /// Notes that a description of an input names a node.
    void noteDescribedNode() noexcept { m_describesNodes = true; }
    /// Returns the graph that walks use, which knows nodes of this scene only.
    [[nodiscard]] CompactGraph& graph() noexcept { return m_nodes.graph(); }
    [[nodiscard]] const CompactGraph& graph() const noexcept { return m_nodes.graph(); }
    /// Returns the table of the links to each node, which the inputs update.
    [[nodiscard]] LinkTable& links() noexcept { return m_links; }
    [[nodiscard]] const LinkTable& links() const noexcept { return m_links; }
    /// Returns the table of the links in values that inputs keep aside.
    [[nodiscard]] LinkTable& stashLinks() noexcept { return m_stashLinks; }
    /// Returns the comments and gaps of scene text, which the reader keeps for the writer.
    [[nodiscard]] SceneComments& comments() noexcept { return m_comments; }
    [[nodiscard]] const SceneComments& comments() const noexcept { return m_comments; }

    /// From now on the follower is called for each change of the order of nodes; null for none.
    void followNodes(NodeTableFollower* follower, Only<SnapshotKeeper> /*key*/) {
        m_nodes.follow(follower);
    }

    // Recorded changes are made by these functions, which record nothing.

    /// Ends links and connections to the node. Call while notifications are held back, because
    /// observers might link to it again.
    void clearReferences(Node& node, Only<NodeChange, Scene> key);
    /// Returns a removed node to its place under its name, which must not be in use.
    void putBack(Node& node, NodeTable::Place place, u64 index, Only<NodeChange> key);
    /// Needs a node that is in the table.
    void enter(Node& node, Only<NodeChange, Scene> key);
    /// Needs a node without links and connections to it, which the caller keeps alive.
    NodeTable::Place takeOut(Node& node, Only<NodeChange, Scene> key);
    /// Call when the removal of the node is complete.
    void removed(Node& node, Only<NodeChange> key);
    /// Needs a name that is not in use.
    void rename(Node& node, String name, Only<NodeRename, Scene> key);
    void move(Node& node, u64 from, u64 to, Only<NodeMove, Scene> key);
    /// Puts the replacement, which has the same name, in the place of a node of the scene.
    void exchange(Node& node, Node& replacement, Only<NodeExchange, Scene> key);
    /// Call when the replacement is in place.
    void converted(Node& node, Node& replacement, Only<NodeExchange> key);

    // ---- Copies ----------------------------------------------------------------------------
    // Links and connections among copied nodes lead to the copies, all others to the same nodes as
    // before.

    /// Returns a copy of the node, added to the scene under the next free name; `deep` copies its
    /// dependencies in the scene too, in the same order. Null, and logged, for a node whose name is
    /// no simple identifier.
    QV_EXPORT virtual INode* cloneNode(INode* node, bool deep);
    QV_EXPORT virtual INode* convertNode(INode* node, String type);
    INode* convertNoting(INode* node, String type, ConversionLosses* losses) override;

    // ---- Modifiers -------------------------------------------------------------------------
    // Values that modifiers write hide the user's values and never replace them.

    /// Makes the node's modifiers write again, when something other than an input or a connection
    /// changed.
    void applyModifiers(INode* node);
    /// Makes all modifiers write with the next change, when notifications are not possible now.
    void applyModifiersLater() noexcept;
    /// Gives the node, which has no modifiers any more, the user's values back at once. Observers
    /// are notified later.
    void lastModifierLeft(Node& node);
    void holdModifiers() noexcept override;
    void releaseModifiers(bool isToRun) override;
    /// Tells whether the values that the node's inputs keep aside are the user's.
    [[nodiscard]] bool isModified(const Node& node) const;
    [[nodiscard]] Modifiers& modifiers(Only<Input, Scene> key) noexcept;

    // ---- Libraries -------------------------------------------------------------------------
    // A type is looked up in the libraries in the order in which they were added.

    bool addLibrary(interfaces::ILibInfo* library) override;
    /// Removes the libraries from position `from` on.
    void dropLibraries(u64 from) noexcept;
    [[nodiscard]] const std::vector<RefersTo<interfaces::ILibInfo>>& libraries() const noexcept {
        return m_libraries;
    }
    /// Returns the type's prototype in the first library that knows it, null when none does.
    [[nodiscard]] const Node* findType(const String& type) const noexcept;
    /// Returns the names of all types, library by library.
    [[nodiscard]] StringVector typeNames() const;

    // ---- Edits -----------------------------------------------------------------------------
    // Edits nest; the outermost is one step of the history. Groups only announce that more edits
    // follow, so that followers wait for the last one.

    void beginEdit() override;
    void recordEdit(String doText, String undoText) override;
    [[nodiscard]] u64 editDepth() const override;
    void cancelEdit(u64 depth) override;
    /// Tells whether an edit, a group or a change of the history is under way.
    [[nodiscard]] bool isEditing() const noexcept;
    void editEnded() noexcept override;
    void beginEditGroup() override;
    void endEditGroup() override;

    // ---- Undo ------------------------------------------------------------------------------
    // The history does the work. Each call keeps the scene alive until it returns, because
    // observers may drop the last reference.

    [[nodiscard]] bool undoEnabled() override;
    [[nodiscard]] bool undoInProgress() override;
    bool setUndoEnabled(bool enabled) override;
    void setUndoLimits(const UndoLimits& limits) override;
    bool undo() override;
    bool redo() override;
    [[nodiscard]] u64 undoCount() const override;
    [[nodiscard]] u64 redoCount() const override;
    [[nodiscard]] UndoStep undoStep(u64 index) const override;
    [[nodiscard]] UndoStep redoStep(u64 index) const override;
    [[nodiscard]] u64 undoBytes() const override;
    void setCheckpoint(String name) override;
    bool returnTo(String name) override;
    [[nodiscard]] StringVector checkpoints() const override;
    void markSaved() override;
    [[nodiscard]] bool isSaved() const override;
    [[nodiscard]] History& history() noexcept { return m_history; }

    // ---- Dirty state -----------------------------------------------------------------------
    // The scene's own flag is plainly set and cleared. The nodes' flags cover their dependencies
    // only on request, by a follower.

    /// Marks the scene as changed or, with false, its present state as clean.
    QV_EXPORT virtual void setDirty(bool dirty = true);
    [[nodiscard]] bool isDirty() const noexcept { return m_dirty; }
    /// Tells whether the scene updates the flags of nodes with each change of a dependency.
    [[nodiscard]] QV_EXPORT virtual bool isDirtyStateCached() const;
    void setDirtyStateCached(bool cached) override;
    /// Call after the flag of a node of the scene was set (`wasDirty` is the flag before) and
    /// before it is cleared. `input` is the one whose value alone changed, null for none.
    void nodeChanged(const Node& node, const Input* input, bool wasDirty,
                     Only<Node> /*key*/) noexcept {
        m_followers.each(
            [&](SceneFollower& follower) { follower.nodeChanged(node, input, wasDirty); });
    }
    /// Call when something of a node changed that does not make it dirty.
    void nodeDescribed(const Node& node, Only<Node> /*key*/) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.nodeDescribed(node); });
    }
    void nodeCleaning(Node& node, Only<Node> /*key*/) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.nodeCleaning(node); });
    }

    // ---- Evaluation ------------------------------------------------------------------------
    // Results are cached only on request, by a follower that drops them as nodes change.

    void setEvalCache(u64 maxBytes, bool isChecked) override;
    [[nodiscard]] interfaces::EvalCacheFigures evalCacheFigures() const override;
    /// Returns null while results are not cached.
    [[nodiscard]] EvalCache* evalCache(Only<Output, Scene> key) const noexcept;
    /// Call when a dependency of the results of a node changed without making it dirty.
    void resultsChanged(const Node& node, Only<Modifiers, Output> /*key*/) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.resultsChanged(node); });
    }

    // ---- Notifications ---------------------------------------------------------------------
    // A list of borrowed pointers in order of subscription. Any thread may subscribe.

    bool subscribe(SceneObserver* observer) override;
    bool unsubscribe(SceneObserver* observer) override;
    /// Returns the followers, such as caches.
    [[nodiscard]] SceneFollowers& followers() noexcept { return m_followers; }
    /// Tells whether a notification by a node may have a receiver.
    [[nodiscard]] bool hasReceivers() const noexcept;
    /// Tells whether a change of a node needs no record and no notification; followers hear of it
    /// in any case.
    [[nodiscard]] bool isQuiet() const noexcept;
    /// Notes a change while the scene is quiet.
    void changedQuietly() noexcept {
        m_history.missed();
        Scene::setDirty(true);
    }
    /// Counts a notification that is about to be sent: earlier changes are not rolled back then.
    void noteTelling() noexcept { ++m_tellings; }
    [[nodiscard]] u64 tellings() const noexcept { return m_tellings; }
    /// Prepares notifications about an object before it changes, so that they do not fail later.
    template<typename Thing>
    void expect(const Thing* thing) {
        m_followers.each([=](SceneFollower& follower) { follower.expect(thing); });
    }
    QV_EXPORT virtual void notifyInputAdded(const IInput* input);
    QV_EXPORT virtual void notifyOutputAdded(const IOutput* output);
    QV_EXPORT virtual void notifyInputChanged(const IInput* input, const AttrData* previous);
    QV_EXPORT virtual void notifyInputRemoved(const IInput* input);
    QV_EXPORT virtual void notifyOutputRemoved(const IOutput* output);
    QV_EXPORT virtual void notifyInputConnected(const IInput* input, const IOutput* before,
                                                const IOutput* after);
    void notifyInputRenamed(const IInput* input, String before);
    /// For a node whose own observers threw: updates the scene and its followers for a changed
    /// value or connection, without notifying scene observers.
    void followUnnotified(const IInput* input);

    // ---- Batches ---------------------------------------------------------------------------
    // The first batch observer makes a notifier, which is itself notified of each single change.

    bool subscribe(interfaces::BatchObserver* observer) override;
    bool unsubscribe(interfaces::BatchObserver* observer) override;
    /// Returns the lock that is held while observers are called.
    [[nodiscard]] std::recursive_mutex& observerMutex(Only<BatchNotifier> /*key*/) noexcept {
        return m_observerMutex;
    }

    // ---- Snapshots -------------------------------------------------------------------------
    // The first snapshot makes a follower that notes changes for the next one.

    /// Returns a constant picture of the nodes. Needs kelvo/sdk/impl/snapshot/snapshot_picture.h.
    [[nodiscard]] RefersTo<SnapshotPicture> takeSnapshot(const SnapshotOptions& options);

    // ---- Laws ------------------------------------------------------------------------------
    // A walk over all nodes, inputs and outputs reports each law that does not hold, with its
    // place.

    [[nodiscard]] IntegrityErrors verify() const override;

private:
    // Notifies each observer that subscribed before and is still subscribed at its turn. Keeps the
    // scene and the subject alive until the end. Other threads wait in `subscribe` meanwhile.
    template<typename Subject, typename Tell>
    void tellObservers(const Subject* subject, const Tell& tell) {
        if (!hasObservers()) return;
        const Survivors survivors(this, subject);
        const std::lock_guard lock(m_observerMutex);
        noteTelling();
        tellEach(m_observers, [&](SceneObserver* observer) { tell(*observer); });
    }
    [[nodiscard]] bool hasObservers() const noexcept {
        return m_observerCount.load(std::memory_order_acquire) != 0;
    }
    template<typename Tell>
    void tellOfInput(const IInput* input, const Tell& tell);

    [[nodiscard]] INode* stillHere(const Node* made) const noexcept;
    [[nodiscard]] RefersTo<Node> cloneInStep(INode& node, bool deep);
    [[nodiscard]] RefersTo<Node> convertInStep(Node& node, String type, const Node* definition,
                                               ConversionLosses* losses);
    void replaceBy(Node& replacement, Node& node, NodeConverter& converter,
                   ConversionLosses* losses);
    [[nodiscard]] RefersTo<Node> makeNode(const Node* definition, String type, const String& name);
    void tellAdded(Node& node);
    void tellRemoved(Node& node);
    void detach(Node& node) noexcept;
    void adoptLinks(Node& node);
    void tellRenamed(Node& node, const String& name, const String& before);
    void tellMoved(Node& node, u64 from);
    void tellConverted(Node& node, Node& replacement);
    void leave(Node& node);
    [[nodiscard]] bool hasInputFollowers() const noexcept;
    void tellFollowers(const IInput* input);
    [[nodiscard]] static std::unique_ptr<SceneFollower> makeModifiers(Scene& scene);

    std::atomic<i32> m_refCount = 1;
    NodeTable m_nodes;
    std::vector<const INode*> m_beingMade;
    std::vector<RefersTo<interfaces::ILibInfo>> m_libraries;
    LinkTable m_links;
    LinkTable m_stashLinks;
    SceneComments m_comments;
    // Used only under the lock; the count tells whether there are observers without the lock.
    ds::Vector<SceneObserver*> m_observers;
    std::recursive_mutex m_observerMutex;
    std::atomic<u64> m_observerCount = 0;
    History m_history{*this, *this};
    u64 m_tellings = 0;
    u32 m_groupDepth = 0;
    bool m_dirty = false;
    // Tells whether a description of an input may name a node.
    bool m_describesNodes = false;
    SceneFollowers m_followers;
    // Null until the first batch observer subscribes; made under the lock of the observers.
    std::unique_ptr<SceneFollower> m_batches;
    // Null while dirty flags are not cached.
    std::unique_ptr<SceneFollower> m_dirtyCache;
    // Null while results are not cached.
    std::unique_ptr<SceneFollower> m_evalCache;
    // Null until the first snapshot; made under the lock of the observers.
    std::unique_ptr<SceneFollower> m_snapshots;
    // Made with the scene, so that a node can get its first modifier without an allocation here. It
    // joins the followers with the first modifier.
    const std::unique_ptr<SceneFollower> m_modifiers;
};

} // namespace qv::kelvo_sdk::impl
