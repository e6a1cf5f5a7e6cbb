#pragma once

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The scene, as its history knows it.
class HistoryOwner {
public:
    /// An edit, an operation or the turning of a step came to its end.
    virtual void editEnded() noexcept = 0;
    /// While held, modifiers write nothing; what they are to do comes at the release.
    virtual void holdModifiers() noexcept = 0;
    virtual void releaseModifiers(bool isToRun) = 0;

protected:
    ~HistoryOwner() = default;
};

/// Holds back the modifiers of a scene while it lives.
class ModifierHold {
public:
    explicit ModifierHold(HistoryOwner& owner) : m_owner(&owner) { owner.holdModifiers(); }
    ~ModifierHold() {
        if (m_owner) m_owner->releaseModifiers(false);
    }
    ModifierHold(const ModifierHold&) = delete;
    ModifierHold& operator=(const ModifierHold&) = delete;

    /// Lets them do what they are to do; may throw what observers throw.
    void release() {
        if (HistoryOwner* owner = std::exchange(m_owner, nullptr)) owner->releaseModifiers(true);
    }

private:
    HistoryOwner* m_owner;
};

} // namespace qv::kelvo_sdk::impl
