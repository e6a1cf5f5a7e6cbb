#pragma once

#include "kelvo/base/export.h"
#include "kelvo/sdk/interfaces/scene_changes.h"

namespace qv::kelvo_sdk::interfaces {

/// Hears of the changes of a scene once per outermost edit, with what they come to; of changes
/// outside of edits at once, one by one.
///
/// Called when the edit is closed, on the thread that closes it; edits from inside are told next,
/// up to 32 times in a row: what comes then is logged, and told with the next edit. What it throws
/// is logged and lost. Not owned by the scene; unsubscribe before it dies.
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
