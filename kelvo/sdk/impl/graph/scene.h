#pragma once

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

namespace qv::kelvo_sdk::impl {

using interfaces::ConversionLosses;
using interfaces::IntegrityErrors;
using interfaces::IScene;
using interfaces::SceneObserver;

class EvalCache;
class Modifiers;
class Node;
class NodeConverter;

/// The one implementation of a scene; the contract of its operations stands in `IScene`.
///
///     Object and lifetime  scene.cpp            construction, destruction, counting
///     Nodes                scene_nodes.cpp      created, found, renamed, removed
///     Copies               scene_copies.cpp     nodes cloned and converted
///     Modifiers            scene_modify.cpp     applied as nodes change
///     Libraries            scene_libraries.cpp  that know the types of nodes
///     Edits                scene_edit.cpp       steps and groups
///     Undo                 scene_undo.cpp       steps taken back and done again
///     Dirty state          scene_dirty.cpp      of the scene
///     Evaluation           scene_eval.cpp       results kept
///     Notifications        scene_notify.cpp     passed on to scene observers
///     Batches              scene_batches.cpp    whole edits told at once
///     Laws                 scene_verify.cpp     checked in a walk over all
///
/// The functions by which nodes tell it of changes are virtual, so that an application may derive
/// and listen.
class Scene : public IScene, public HistoryOwner {
public:
    // ---- Object and lifetime ---------------------------------------------------------------
    // A scene holds one reference on each of its nodes. When it ends, nodes that others hold stay,
    // without a scene; links to them are forgotten, and nobody hears of it.

    QV_EXPORT Scene();
    QV_EXPORT ~Scene() override;
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void incRef() override;
    void decRef() override;

    // ---- Nodes -----------------------------------------------------------------------------
    // Names are unique without regard to case.

    [[nodiscard]] INode* findNode(String name) override;
    INode* createNode(String type, String name) override;
    /// Takes a free-standing node in, at the end; its name gets a number if it is taken. The scene
    /// takes a reference of its own.
    bool addNode(Node* node);
    /// For whoever brought a node in that nobody heard of yet: takes it out again, with no memory.
    void dropUnheard(Node& node) noexcept;
    bool removeNode(INode* node) override;
    bool renameNode(INode* node, String name) override;
    bool moveNode(INode* node, u64 to) override;
    void clear() override;
    [[nodiscard]] u64 nodeCount() const override;
    [[nodiscard]] INode* node(u64 index) const override;
    [[nodiscard]] bool contains(const INode& node) const;
    /// Tells whether the library is making this node right now: nobody hears of it yet, and nothing
    /// that is done to it is recorded.
    [[nodiscard]] bool isMaking(const INode* node) const noexcept {
        return !m_beingMade.empty() && std::ranges::find(m_beingMade, node) != m_beingMade.end();
    }
    /// For whoever makes nodes: lets the library initialise one that belongs to the scene but is
    /// not in it.
    void initialise(Node& node);
    /// Calls `visit(INode*)` for each node in creation order.
    template<typename Visit>
    void forEachNode(const Visit& visit) const {
        m_nodes.forEach(visit);
    }
    /// Returns `name`, or the next free name made from it by a number.
    [[nodiscard]] String freeName(const String& name) const;
    /// A description of an input names a node from now on.
    void noteDescribedNode() noexcept { m_describesNodes = true; }
    /// Where walks lead from each node; of a node that is in no scene nothing is known.
    [[nodiscard]] CompactGraph& graph() noexcept { return m_nodes.graph(); }
    [[nodiscard]] const CompactGraph& graph() const noexcept { return m_nodes.graph(); }
    /// The links to each node, kept by the inputs.
    [[nodiscard]] LinkTable& links() noexcept { return m_links; }
    [[nodiscard]] const LinkTable& links() const noexcept { return m_links; }
    /// The same, of values that inputs keep aside.
    [[nodiscard]] LinkTable& stashLinks() noexcept { return m_stashLinks; }
    /// Comments and unread parts that the reader kept for the writer.
    [[nodiscard]] SceneComments& comments() noexcept { return m_comments; }
    [[nodiscard]] const SceneComments& comments() const noexcept { return m_comments; }

    // ---- Copies ----------------------------------------------------------------------------
    // Links and connections among what is copied lead to the copies, all others where they led.

    /// Returns a copy of the node, added to the scene under the next free name; `deep` copies all
    /// of the scene that it depends on too, in the same order. Null, and logged, for a node whose
    /// name is no simple identifier.
    QV_EXPORT virtual INode* cloneNode(INode* node, bool deep);
    QV_EXPORT virtual INode* convertNode(INode* node, String type);
    INode* convertNoting(INode* node, String type, ConversionLosses* losses) override;

    // ---- Modifiers -------------------------------------------------------------------------
    // Values that the modifiers of a node write hide the user's, and never replace them.

    /// Has the node's modifiers write once more: for what they go by beside inputs and connections.
    void applyModifiers(INode* node);
    /// Has all modifiers write with the next change, where there is nobody to tell now.
    void applyModifiersLater() noexcept;
    void holdModifiers() noexcept override;
    void releaseModifiers(bool isToRun) override;
    /// Tells whether the values that the node's inputs keep aside are what the user set.
    [[nodiscard]] bool isModified(const Node& node) const;
    /// For nodes and inputs alone.
    [[nodiscard]] Modifiers& modifiers() noexcept;

    // ---- Libraries -------------------------------------------------------------------------
    // A type is looked up in the libraries in the order in which they were added.

    bool addLibrary(interfaces::ILibInfo* library) override;
    /// Takes back the libraries that were added since there were `from` of them.
    void dropLibraries(u64 from) noexcept;
    [[nodiscard]] const std::vector<RefersTo<interfaces::ILibInfo>>& libraries() const noexcept {
        return m_libraries;
    }
    /// Returns the type's prototype in the first library that knows it, null when none does.
    [[nodiscard]] const Node* findType(const String& type) const noexcept;
    /// Returns the names of all types that its libraries know, library by library.
    [[nodiscard]] StringVector typeNames() const;

    // ---- Edits -----------------------------------------------------------------------------
    // Edits nest; the outermost is one step of the history. Groups only say that more edits follow,
    // so that followers wait for the last one.

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
    // The history answers; the scene lives until it is done, whatever the observers do.

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
    // The scene's own flag is plain. The nodes' flags are kept true to what they depend on only
    // when asked for, by a follower.

    /// Tells the scene that it changed, or (false) that its present state counts as clean.
    QV_EXPORT virtual void setDirty(bool dirty = true);
    [[nodiscard]] bool isDirty() const noexcept { return m_dirty; }
    /// Tells whether the scene keeps every node's flag true to its dependencies.
    [[nodiscard]] QV_EXPORT virtual bool isDirtyStateCached() const;
    void setDirtyStateCached(bool cached) override;
    /// For its nodes alone: its flag was set, and was before or not; it is about to be
    /// cleared.
    void nodeChanged(const Node& node, bool wasDirty) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.nodeChanged(node, wasDirty); });
    }
    void nodeCleaning(Node& node) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.nodeCleaning(node); });
    }

    // ---- Evaluation ------------------------------------------------------------------------
    // Results are kept only when asked for, by a follower that drops them as nodes change.

    void setEvalCache(u64 maxBytes, bool isChecked) override;
    [[nodiscard]] interfaces::EvalCacheFigures evalCacheFigures() const override;
    /// For its outputs alone; null while no results are kept.
    [[nodiscard]] EvalCache* evalCache() const noexcept;
    /// For its nodes alone: what the results of the node depend on changed, and it is not dirty.
    void resultsChanged(const Node& node) noexcept {
        m_followers.each([&](SceneFollower& follower) { follower.resultsChanged(node); });
    }

    // ---- Notifications ---------------------------------------------------------------------
    // A list of borrowed pointers in order of subscription. Any thread may subscribe.

    bool subscribe(SceneObserver* observer) override;
    bool unsubscribe(SceneObserver* observer) override;
    /// Caches and the like, which keep true to the scene.
    [[nodiscard]] SceneFollowers& followers() noexcept { return m_followers; }
    /// Tells whether anyone may hear of what its nodes tell it.
    [[nodiscard]] bool isHeard() const noexcept;
    /// Somebody is about to be told something: what was done up to now is not taken back unheard.
    void noteTelling() noexcept { ++m_tellings; }
    [[nodiscard]] u64 tellings() const noexcept { return m_tellings; }
    /// Makes ready to tell of a thing that is about to change, so that it does not fail then.
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
    /// For a node whose own observers threw: nobody is told of a value or connection, which the
    /// scene and its modifiers go by all the same.
    void followUntold(const IInput* input);

    // ---- Batches ---------------------------------------------------------------------------
    // The first observer of batches makes a notifier, which hears of single changes itself.

    bool subscribe(interfaces::BatchObserver* observer) override;
    bool unsubscribe(interfaces::BatchObserver* observer) override;
    /// For batches alone: the lock under which observers are told.
    [[nodiscard]] std::recursive_mutex& observerMutex() noexcept { return m_observerMutex; }

    // ---- Laws ------------------------------------------------------------------------------
    // A walk over all nodes, inputs and outputs names each law that does not hold, and its place.

    [[nodiscard]] IntegrityErrors verify() const override;

private:
    // Tells those that subscribed before and are still there when their turn comes; the scene, and
    // what the news is about, live until all have heard. Other threads that subscribe wait for it.
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

    friend class NodeChange;
    friend class NodeExchange;
    friend class NodeMove;
    friend class NodeRename;

    [[nodiscard]] INode* given(const Node* made) const noexcept;
    [[nodiscard]] RefersTo<Node> cloneInStep(INode& node, bool deep);
    [[nodiscard]] RefersTo<Node> convertInStep(Node& node, String type, const Node* definition,
                                               ConversionLosses* losses);
    void replaceBy(Node& replacement, Node& node, NodeConverter& converter,
                   ConversionLosses* losses);
    static bool checkName(const String& name, const char* what);
    void clearReferences(Node& node);
    void clearDescriptions(const Node& node);
    [[nodiscard]] RefersTo<Node> makeNode(const Node* definition, String type, String name);
    void enter(Node& node);
    void tellAdded(Node& node);
    NodeTable::Place takeOut(Node& node);
    void tellRemoved(Node& node);
    void letGo(Node& node) noexcept;
    void adoptLinks(Node& node);
    void rename(Node& node, String name);
    void tellRenamed(Node& node, const String& name, const String& before);
    void move(Node& node, u64 from, u64 to);
    void tellMoved(Node& node, u64 from);
    void exchange(Node& node, Node& replacement);
    void converted(Node& node, Node& replacement);
    void tellConverted(Node& node, Node& replacement);
    void moveLinks(Node& node, Node& replacement);
    void leave(Node& node);
    [[nodiscard]] bool hasHearingFollowers() const noexcept;
    void tellFollowers(const IInput* input);
    [[nodiscard]] static std::unique_ptr<SceneFollower> makeModifiers(Scene& scene);

    std::atomic<i32> m_refCount = 1;
    NodeTable m_nodes;
    std::vector<const INode*> m_beingMade;
    std::vector<RefersTo<interfaces::ILibInfo>> m_libraries;
    LinkTable m_links;
    LinkTable m_stashLinks;
    SceneComments m_comments;
    // Touched under the lock alone; their number is there for those who only ask whether any are.
    ds::Vector<SceneObserver*> m_observers;
    std::recursive_mutex m_observerMutex;
    std::atomic<u64> m_observerCount = 0;
    History m_history{*this, *this};
    u64 m_tellings = 0;
    u32 m_groupDepth = 0;
    bool m_dirty = false;
    // Some description of an input may name a node.
    bool m_describesNodes = false;
    SceneFollowers m_followers;
    // Null until someone asks for batches; made under the lock of the observers.
    std::unique_ptr<SceneFollower> m_batches;
    // Null while dirty states are not cached.
    std::unique_ptr<SceneFollower> m_dirtyCache;
    // Null while no results are kept.
    std::unique_ptr<SceneFollower> m_evalCache;
    // There from the start, so that a node may get its first modifier without memory for this. It
    // follows once there is one.
    const std::unique_ptr<SceneFollower> m_modifiers;
};

} // namespace qv::kelvo_sdk::impl
