#pragma once

#include "kelvo/base/export.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/scene.h"

#include <memory>

namespace qv::kelvo_sdk::impl {

/// Makes all edits of a node during this scope one undoable step of its scene. Does nothing when
/// the scene is null, records no undo, or is replaying.
class QV_EXPORT NodeChangeScope {
public:
    explicit NodeChangeScope(interfaces::IScene* scene) {
        if (scene && scene->undoEnabled() && !scene->undoInProgress()) open(scene);
    }
    NodeChangeScope(const NodeChangeScope&) = delete;
    NodeChangeScope& operator=(const NodeChangeScope&) = delete;

private:
    void open(interfaces::IScene* scene);

    std::unique_ptr<kelvo_sdk::Scene::UndoScope> m_step;
};

static_assert(sizeof(NodeChangeScope) == sizeof(void*));

} // namespace qv::kelvo_sdk::impl
