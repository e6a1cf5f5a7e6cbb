#pragma once

#include "kelvo/sdk/interfaces/forward.h"

#include <atomic>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

class Input;
class Node;

/// Keeps derived data, such as a cache, consistent with a scene. Is called for everything that
/// happens in the scene, with or without observers, including undo.
///
/// Calls come on the thread that edits the scene, unless stated otherwise.
class SceneFollower {
public:
    SceneFollower() = default;
    virtual ~SceneFollower() = default;
    SceneFollower(const SceneFollower&) = delete;
    SceneFollower& operator=(const SceneFollower&) = delete;

    // ---- Nodes -----------------------------------------------------------------------------

    /// The node joined the scene with its links and connections; observers were not notified yet.
    virtual void nodeEntered(Node& /*node*/) noexcept {}
    /// The node was taken out of the scene, as a part of a change that is not complete.
    virtual void nodeTakenOut(Node& /*node*/) noexcept {}
    /// The change that removed the node is complete; observers were not notified yet.
    virtual void nodeLeft(Node& /*node*/) {}
    /// The node got a place in the order of the nodes, as a new node or by a move.
    virtual void placeTaken(const Node& /*node*/) noexcept {}
    /// The node is about to leave its place in the order of the nodes.
    virtual void placeLeaving(const Node& /*node*/) noexcept {}
    /// The node was marked dirty; `wasDirty` tells whether it was dirty before. `input` is the one
    /// whose value, or order of elements, alone changed; null when other things did.
    virtual void nodeChanged(const Node& /*node*/, const Input* /*input*/,
                             bool /*wasDirty*/) noexcept {}
    /// The node is about to be marked clean.
    virtual void nodeCleaning(Node& /*node*/) noexcept {}

    /// Something of the node changed that does not make it dirty, such as a mark of an input.
    virtual void nodeDescribed(const Node& /*node*/) noexcept {}

    // ---- Evaluation ------------------------------------------------------------------------
    // Called on any thread that evaluates.

    /// A dependency of the node's results changed, but the node is not dirty.
    virtual void resultsChanged(const Node& /*node*/) noexcept {}
    /// The node's callbacks changed, or the content of its user data.
    virtual void callbacksChanged(const Node& /*node*/) noexcept {}

    // ---- Inputs and edits ------------------------------------------------------------------

    /// Tells whether `inputNotified` is needed now; if not, changes of inputs may come without it.
    [[nodiscard]] virtual bool followsInputs() const noexcept { return false; }
    /// Observers were notified of a change of the input.
    virtual void inputNotified(Input& /*input*/) {}
    /// The object is about to change: allocates the memory for recording the change.
    virtual void expect(const INode* /*node*/) {}
    virtual void expect(const IInput* /*input*/) {}
    virtual void expect(const IOutput* /*output*/) {}
    /// The last open edit ended.
    virtual void editsEnded() noexcept {}
    /// The scene is being destroyed; its nodes still exist.
    virtual void sceneEnds() noexcept {}

private:
    friend class SceneFollowers;
    std::atomic<SceneFollower*> m_next = nullptr;
};

/// The followers of one scene, in the order in which they joined.
///
/// Followers whose calls may run code of observers or node libraries never leave.
class SceneFollowers {
public:
    /// Does nothing if the follower joined before. Call under the lock of the scene's observers, or
    /// while no other code uses the scene.
    void join(SceneFollower& follower) noexcept {
        std::atomic<SceneFollower*>* end = &m_first;
        while (SceneFollower* next = end->load(std::memory_order_relaxed)) {
            if (next == &follower) return;
            end = &next->m_next;
        }
        end->store(&follower, std::memory_order_release);
    }
    /// Call while no other code uses the scene.
    void leave(SceneFollower& follower) noexcept {
        for (std::atomic<SceneFollower*>* place = &m_first; SceneFollower* next = place->load();
             place = &next->m_next) {
            if (next != &follower) continue;
            place->store(follower.m_next.exchange(nullptr));
            return;
        }
    }
    [[nodiscard]] bool empty() const noexcept { return !m_first.load(std::memory_order_acquire); }
    template<typename Call>
    void each(const Call& call) const {
        if (!empty()) eachFrom(m_first, call);
    }

private:
    // Not inlined, so that a change which nobody follows needs no stack frame for the loop.
    template<typename Call>
    [[gnu::noinline]] static void eachFrom(const std::atomic<SceneFollower*>& first,
                                           const Call& call) {
        for (SceneFollower* next = first.load(std::memory_order_acquire); next;
             next = next->m_next.load(std::memory_order_acquire))
            call(*next);
    }

    std::atomic<SceneFollower*> m_first = nullptr;
};

} // namespace qv::kelvo_sdk::impl
