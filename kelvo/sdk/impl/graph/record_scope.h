#pragma once

#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

/// Has what changes while it lives recorded, with undo off, too: so that it can be taken back as
/// long as it is not complete.
class RecordScope {
public:
    /// The caller holds the scene.
    explicit RecordScope(Scene& scene) : m_history(scene.history()) { m_history.openOperation(); }
    ~RecordScope() { m_history.closeOperation(); }
    RecordScope(const RecordScope&) = delete;
    RecordScope& operator=(const RecordScope&) = delete;

private:
    History& m_history;
};

} // namespace qv::kelvo_sdk::impl
