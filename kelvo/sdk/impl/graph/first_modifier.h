#pragma once

#include "kelvo/sdk/impl/graph/record_scope.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <optional>

namespace qv::kelvo_sdk::impl {

/// Adds the first modifier to a node whose inputs keep values aside. Modifiers start from these, so
/// they become the values, as recorded changes of the same step. Does nothing for other lists.
class FirstModifier {
public:
    /// Create before the step.
    explicit FirstModifier(const Input& list);
    /// Call before the element is added, inside the step.
    void useKeptValues() const;
    /// Notifies observers; call when the element is in the list.
    void release();

private:
    // Null when there is nothing to do.
    RefersTo<Node> m_node;
    RefersTo<Scene> m_scene;
    std::optional<RecordScope> m_record;
    std::optional<DeferredNotifications> m_deferred;
};

} // namespace qv::kelvo_sdk::impl
