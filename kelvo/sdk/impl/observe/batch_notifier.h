#pragma once

#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/observe/net_changes.h"
#include "kelvo/sdk/interfaces/batch_observer.h"
#include "kelvo/sdk/interfaces/scene_observer.h"

namespace qv::kelvo_sdk::impl {

using interfaces::BatchObserver;

/// Notifies observers of a scene of whole edits, one batch for each.
class BatchNotifier : public interfaces::SceneObserver, public SceneFollower {
public:
    /// The scene owns the notifier.
    explicit BatchNotifier(Scene& scene) : m_scene(scene) {}

    // Call both with the scene's observer lock held.
    bool subscribe(BatchObserver* observer);
    bool unsubscribe(BatchObserver* observer) { return m_observers.removeAll(observer); }

    void placeTaken(const Node& node) noexcept override { noteShift(node, true); }
    void placeLeaving(const Node& node) noexcept override { noteShift(node, false); }
    void expect(const INode* node) override { expectThing(node); }
    void expect(const IInput* input) override { expectThing(input); }
    void expect(const IOutput* output) override { expectThing(output); }
    void editsEnded() noexcept override;

    void nodeAdded(INode* node) override;
    void nodeRemoved(INode* node) override;
    void nodeRenamed(INode* node, String before) override;
    void nodeMoved(INode* node, u64 from) override;
    void inputAdded(const IInput* input) override;
    void inputRemoved(const IInput* input) override;
    void outputAdded(const IOutput* output) override;
    void outputRemoved(const IOutput* output) override;
    void inputChanged(const IInput* input, const AttrData* previous) override;
    void inputConnected(const IInput* input, const IOutput* before, const IOutput* after) override;
    void inputRenamed(const IInput* input, String before) override;

private:
    template<typename Thing>
    void expectThing(const Thing* thing);
    void noteShift(const Node& node, bool isIn) noexcept;
    template<typename Note>
    void note(const Note& note);
    void deliver() noexcept;
    void deliverRound() noexcept;
    void tell(const interfaces::SceneChanges& changes) noexcept;

    // Limits the rounds of notifications that follow from edits of observers.
    static constexpr u32 maxRounds = 32;

    Scene& m_scene;
    ds::Vector<BatchObserver*> m_observers;
    NetChanges m_batch;
    bool m_isDelivering = false;
};

} // namespace qv::kelvo_sdk::impl
