#pragma once

#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

/// Records all changes during its lifetime even while undo is off, so that an incomplete edit can
/// be rolled back.
class RecordScope {
public:
    /// The caller must keep the scene alive.
    explicit RecordScope(Scene& scene) : m_history(scene.history()) { m_history.openOperation(); }
    ~RecordScope() { m_history.closeOperation(); }
    RecordScope(const RecordScope&) = delete;
    RecordScope& operator=(const RecordScope&) = delete;

private:
    History& m_history;
};

} // namespace qv::kelvo_sdk::impl
