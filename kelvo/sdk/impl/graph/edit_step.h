#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/impl/history/history.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

/// Makes all edits during its lifetime, including those that observers make in response, one step
/// of the scene's history, or a part of an open step. Takes hardly any time for nodes without a
/// scene and scenes that record nothing.
///
/// When an exception leaves it before the first notification, undoes the edits as far as they were
/// recorded. Observers inside are notified even when memory is out.
class EditStep {
public:
    /// `node` may be null. Records nothing for a node that is being created or destroyed.
    explicit EditStep(const Node* node) {
        auto* scene = node ? implOf(node->liveScene()) : nullptr;
        if (scene && !scene->isMaking(node)) begin(*scene);
    }
    explicit EditStep(Scene& scene) { begin(scene); }
    ~EditStep() {
        if (!m_scene) return;
        if (std::uncaught_exceptions() > m_exceptions && m_scene->tellings() == m_tellings) {
            DeferredNotifications::dropSince(m_deferred);
            history().rollBack(m_start);
        }
        history().closeOperation();
    }
    EditStep(const EditStep&) = delete;
    EditStep& operator=(const EditStep&) = delete;

    [[nodiscard]] bool isRecording() const noexcept { return m_scene.get() != nullptr; }
    // Need a scene that records.
    [[nodiscard]] Scene& scene() const noexcept { return *m_scene.get(); }
    [[nodiscard]] History& history() const noexcept { return m_scene->history(); }

    /// Prepares the record of a change before it is made; null when nothing is recorded.
    template<typename Made, typename... Arguments>
    Made* prepare(Arguments&&... arguments) {
        if (!m_scene) return nullptr;
        auto change = std::make_unique<Made>(std::forward<Arguments>(arguments)...);
        history().reserve();
        Made* made = change.get();
        m_change = std::move(change);
        return made;
    }
    /// Makes several changes with a notification each. When memory is too short for all of them,
    /// undoes those that were recorded.
    template<typename Call>
    auto make(const Call& call) const {
        try {
            return call();
        } catch (const std::bad_alloc&) {
            if (m_scene && m_scene->tellings() != m_tellings) {
                DeferredNotifications::dropSince(m_deferred);
                history().takeBack(m_start);
            }
            throw;
        }
    }

    /// Call after the change was made.
    void commit() noexcept {
        if (m_change) history().add(std::move(m_change));
    }

private:
    void begin(Scene& scene) {
        if (scene.history().isRecording()) return open(scene);
        scene.history().missed();
    }
    // Not inlined, so that scenes that record nothing only pay for the test.
    [[gnu::noinline]] void open(Scene& scene) {
        scene.history().openOperation();
        m_scene = RefersTo<Scene>(&scene);
        m_start = scene.history().openChanges();
        m_tellings = scene.tellings();
        m_deferred = DeferredNotifications::mark();
        m_exceptions = std::uncaught_exceptions();
    }

    CertainDelivery m_certain;
    // Null when nothing is recorded.
    RefersTo<Scene> m_scene;
    std::unique_ptr<Change> m_change;
    // The state when the step began.
    u64 m_start = 0;
    u64 m_tellings = 0;
    DeferredNotifications::Mark m_deferred{};
    int m_exceptions = 0;
};

/// Prepares notifications about an object of the node, which may be null, before it changes.
template<typename Thing>
void expectNotification(const Node* node, const Thing* thing) {
    if (auto* scene = node ? implOf(node->liveScene()) : nullptr) scene->expect(thing);
}

} // namespace qv::kelvo_sdk::impl
