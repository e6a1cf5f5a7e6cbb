#pragma once

#include "kelvo/base/export.h"
#include "kelvo/sdk/interfaces/scene_changes.h"

namespace qv::kelvo_sdk::interfaces {

/// Is notified of the net changes of a scene, once per outermost edit; of a change outside of edits
/// at once.
///
/// Called when the edit is closed, on the thread that closes it. Edits that it makes itself follow
/// as further notifications, up to 32 in a row; the rest is logged and waits for the next edit. Its
/// exceptions are logged and dropped. The scene does not own it; unsubscribe before its
/// destruction.
class QV_EXPORT BatchObserver {
public:
    virtual void sceneChanged(const SceneChanges& changes) = 0;

protected:
    BatchObserver() = default;
    BatchObserver(const BatchObserver&) = default;
    BatchObserver& operator=(const BatchObserver&) = default;
    virtual ~BatchObserver() = default;
};

} // namespace qv::kelvo_sdk::interfaces
