#pragma once

#include "kelvo/sdk/impl/graph/record_scope.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <optional>

namespace qv::kelvo_sdk::impl {

/// Gives the first modifiers to a node whose inputs keep values aside. Modifiers start from these,
/// so they become the values, as recorded changes of the same step. Does nothing for other lists.
class FirstModifier {
public:
    /// For an element to be added to a list. Create before the step.
    explicit FirstModifier(const Input& list);
    /// For an input of a node, to be renamed, which may make it the list. Create before the step.
    FirstModifier(const Input& input, const String& name);
    /// Call before the element is added or the input renamed, inside the step.
    void useKeptValues() const;
    /// Notifies observers; call when the element is in the list or the input renamed.
    void release();

private:
    void begin(Node& node);

    // Null when there is nothing to do.
    RefersTo<Node> m_node;
    RefersTo<Scene> m_scene;
    std::optional<RecordScope> m_record;
    std::optional<DeferredNotifications> m_deferred;
};

} // namespace qv::kelvo_sdk::impl
