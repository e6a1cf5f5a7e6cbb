#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Hears of the changes of the nodes it subscribed to.
///
/// Called on the thread that makes the change, with the node's observer lock held: it may
/// subscribe, unsubscribe and edit from inside. Not owned by the node; unsubscribe before it dies.
/// An exception ends the notification: later observers and the scene are not told.
class QV_EXPORT NodeObserver {
public:
    virtual void nodeRemoved() = 0;
    virtual void nodeRenamed(String name) = 0;
    /// `replacement` may be empty.
    virtual void nodeConverted(Node replacement) = 0;
    /// The value of the input is another, or its name.
    virtual void inputChanged(Input input) = 0;
    virtual void inputConnected(Input input) = 0;

protected:
    NodeObserver() = default;
    NodeObserver(const NodeObserver&) = default;
    NodeObserver& operator=(const NodeObserver&) = default;
    virtual ~NodeObserver() = default;
};

} // namespace qv::kelvo_sdk::interfaces
