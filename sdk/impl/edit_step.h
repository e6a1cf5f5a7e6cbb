#pragma once

#include "sdk/impl/history.h"
#include "sdk/impl/node.h"
#include "sdk/impl/scene.h"

#include <memory>
#include <utility>

namespace qv::kelvo_sdk::impl {

/// Makes what changes while it lives, with what observers do about it, one step of the scene's
/// history, or part of one that is open. Costs next to nothing for nodes without a scene and scenes
/// that record nothing.
class EditStep {
public:
    /// `node` may be null. Of a node that is being made or destroyed nothing is recorded.
    explicit EditStep(const Node* node) {
        auto* scene = node ? static_cast<Scene*>(node->liveScene()) : nullptr;
        if (scene && !scene->isMaking(node)) open(*scene);
    }
    explicit EditStep(Scene& scene) { open(scene); }
    ~EditStep() {
        if (m_scene) m_scene->history().closeOperation();
    }
    EditStep(const EditStep&) = delete;
    EditStep& operator=(const EditStep&) = delete;

    [[nodiscard]] bool isRecording() const noexcept { return m_scene.get() != nullptr; }
    // Need a scene that records.
    [[nodiscard]] Scene& scene() const noexcept { return *m_scene.get(); }
    [[nodiscard]] History& history() const noexcept { return m_scene->history(); }

    /// Makes ready to add a change, before it is made; null when nothing is recorded.
    template<typename Made, typename... Arguments>
    Made* prepare(Arguments&&... arguments) {
        if (!m_scene) return nullptr;
        auto change = std::make_unique<Made>(std::forward<Arguments>(arguments)...);
        history().reserve();
        Made* made = change.get();
        m_change = std::move(change);
        return made;
    }
    /// The change was made.
    void commit() noexcept {
        if (m_change) history().add(std::move(m_change));
    }

private:
    void open(Scene& scene) {
        History& history = scene.history();
        if (!history.isRecording()) return history.missed();
        m_scene = RefersTo<Scene>(&scene);
        history.openOperation();
    }

    // Null when nothing is recorded.
    RefersTo<Scene> m_scene;
    std::unique_ptr<Change> m_change;
};

} // namespace qv::kelvo_sdk::impl
