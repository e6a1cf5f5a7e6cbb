#pragma once

#include "kelvo/sdk/interfaces/forward.h"

#include <atomic>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

class Input;
class Node;

/// Keeps something true to a scene beside its nodes, such as a cache. It hears of everything that
/// happens in the scene, whether it is observed or not, and undone edits included.
///
/// Calls come on the thread that edits the scene, unless it says otherwise.
class SceneFollower {
public:
    SceneFollower() = default;
    virtual ~SceneFollower() = default;
    SceneFollower(const SceneFollower&) = delete;
    SceneFollower& operator=(const SceneFollower&) = delete;

    // ---- Nodes -----------------------------------------------------------------------------

    /// The node came into the scene, links and all, and nobody was told yet.
    virtual void nodeEntered(Node& /*node*/) noexcept {}
    /// The node was taken out of the scene, as a part of a change that is not complete.
    virtual void nodeTakenOut(Node& /*node*/) noexcept {}
    /// The change that took the node out is complete, and nobody was told yet.
    virtual void nodeLeft(Node& /*node*/) {}
    /// The node's flag was set; `wasDirty` tells whether it was before.
    virtual void nodeChanged(const Node& /*node*/, bool /*wasDirty*/) noexcept {}
    /// The node's flag is about to be cleared.
    virtual void nodeCleaning(Node& /*node*/) noexcept {}

    // ---- Evaluation ------------------------------------------------------------------------
    // On any thread that evaluates.

    /// Something that the node's results depend on changed, while the node is not dirty.
    virtual void resultsChanged(const Node& /*node*/) noexcept {}
    /// The node's callbacks changed, or what its user data holds.
    virtual void callbacksChanged(const Node& /*node*/) noexcept {}

    // ---- Inputs and edits ------------------------------------------------------------------

    /// Tells whether `inputTold` is of use now: without, changes of inputs may go untold.
    [[nodiscard]] virtual bool hearsInputs() const noexcept { return false; }
    /// Observers were told of a change of the input.
    virtual void inputTold(Input& /*input*/) {}
    /// The thing is about to change: takes the memory for what is noted of it then.
    virtual void expect(const INode* /*node*/) {}
    virtual void expect(const IInput* /*input*/) {}
    virtual void expect(const IOutput* /*output*/) {}
    /// No edit is open any more.
    virtual void editsEnded() noexcept {}
    /// The scene ends; its nodes are still there.
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
    /// Does nothing when it is there. Under the lock of the scene's observers, or while nothing
    /// else uses the scene.
    void join(SceneFollower& follower) noexcept {
        std::atomic<SceneFollower*>* end = &m_first;
        while (SceneFollower* next = end->load(std::memory_order_relaxed)) {
            if (next == &follower) return;
            end = &next->m_next;
        }
        end->store(&follower, std::memory_order_release);
    }
    /// While nothing else uses the scene.
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
        for (SceneFollower* next = m_first.load(std::memory_order_acquire); next;
             next = next->m_next.load(std::memory_order_acquire))
            call(*next);
    }

private:
    std::atomic<SceneFollower*> m_first = nullptr;
};

} // namespace qv::kelvo_sdk::impl
