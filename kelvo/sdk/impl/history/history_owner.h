#pragma once

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The interface of the scene that its history calls.
class HistoryOwner {
public:
    /// Called when an edit, an operation, an undo or a redo has ended.
    virtual void editEnded() noexcept = 0;
    /// While modifiers are held they write nothing; the release applies them.
    virtual void holdModifiers() noexcept = 0;
    virtual void releaseModifiers(bool isToRun) = 0;

protected:
    ~HistoryOwner() = default;
};

/// Holds back the modifiers of a scene during its lifetime.
class ModifierHold {
public:
    explicit ModifierHold(HistoryOwner& owner) : m_owner(&owner) { owner.holdModifiers(); }
    ~ModifierHold() {
        if (m_owner) m_owner->releaseModifiers(false);
    }
    ModifierHold(const ModifierHold&) = delete;
    ModifierHold& operator=(const ModifierHold&) = delete;

    /// Applies the modifiers now; may throw exceptions of observers.
    void release() {
        if (HistoryOwner* owner = std::exchange(m_owner, nullptr)) owner->releaseModifiers(true);
    }

private:
    HistoryOwner* m_owner;
};

} // namespace qv::kelvo_sdk::impl
