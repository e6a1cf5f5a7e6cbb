#pragma once

#include "kelvo/sdk/impl/history/change.h"
#include "kelvo/sdk/impl/history/history_owner.h"
#include "kelvo/sdk/interfaces/undo_step.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

using interfaces::UndoLimits;
using interfaces::UndoStep;

class AllCalls;
class Input;
class Scene;

/// The steps of a scene for undo and redo.
///
/// The code that makes a change opens an operation (`EditStep`) and adds the change; edits (`begin`
/// to `end`) hold any number of operations. The outermost edit makes one step. Changes are
/// symmetric: undo swaps the changes of a step in reverse order, which makes a step for redo.
///
/// Observers are notified once a step is completely swapped. Edits that they make in answer
/// become part of the step, so that the next undo or redo takes back those edits first.
class History {
public:
    using Changes = std::vector<std::unique_ptr<Change>>;

    /// The owner must outlive the history; `scene` is the scene that changes are swapped in.
    History(HistoryOwner& owner, Scene& scene) noexcept : m_owner(owner), m_scene(scene) {}
    ~History();
    History(const History&) = delete;
    History& operator=(const History&) = delete;

    // ---- Recording -------------------------------------------------------------------------

    /// Tells whether changes are recorded, for undo or for an edit that may be cancelled.
    [[nodiscard]] bool isRecording() const noexcept {
        return m_isEnabled || m_operations != 0 || !m_marks.empty();
    }
    /// Allocates the step, so that closing the operation cannot fail. Close it only if this
    /// succeeds.
    void openOperation() {
        if (m_isEnabled && m_ready.empty()) m_ready.emplace_back();
        ++m_operations;
    }
    void closeOperation() noexcept;
    /// Returns the number of changes that the open step has so far.
    [[nodiscard]] u64 openChanges() const noexcept { return m_open.size(); }
    /// Needs an open operation that failed before any notification: takes back silently all changes
    /// but the first `from` of the open step. Allocates nothing.
    void rollBack(u64 from) noexcept;
    /// Like `rollBack`, for changes that observers heard of: notifies them of the reversal.
    void takeBack(u64 from) noexcept;
    /// Needs an open operation. After `reserve`, `add` does not fail.
    void reserve() {
        if (m_open.size() == m_open.capacity()) m_open.reserve(2 * m_open.size() + 4);
        if (m_taken.capacity() < m_open.size() + 1) m_taken.reserve(m_open.capacity());
    }
    void add(std::unique_ptr<Change> change) noexcept;
    /// Tells whether the innermost edit holds an earlier value of the input; looks a few changes
    /// back.
    [[nodiscard]] bool keepsValueOf(const Input& input) const noexcept;
    /// Notes that a change was made without a record.
    void missed() noexcept { m_isMissing.store(true, std::memory_order_relaxed); }

    // ---- Edits -----------------------------------------------------------------------------

    void begin();
    /// Closes the innermost edit, if any. The texts of the outermost edit take precedence.
    void end(String doText, String undoText);
    /// Closes the edit of that depth and takes back all changes since it began; inside an operation
    /// that began before the edit, only when that operation ends.
    void cancel(u64 depth);
    [[nodiscard]] u64 depth() const noexcept { return m_marks.size(); }
    /// Tells whether no edit, operation, undo or redo is under way.
    [[nodiscard]] bool isIdle() const noexcept {
        return m_marks.empty() && m_operations == 0 && !m_isReplaying;
    }

    // ---- Steps -----------------------------------------------------------------------------

    [[nodiscard]] bool isEnabled() const noexcept { return m_isEnabled; }
    /// Forgets all steps when the setting changes. False, and logged, while an edit or a step is
    /// under way.
    bool setEnabled(bool enabled);
    void setLimits(const UndoLimits& limits);
    [[nodiscard]] const UndoLimits& limits() const noexcept { return m_limits; }
    [[nodiscard]] bool isReplaying() const noexcept { return m_isReplaying; }
    /// Returns why no step can be turned now, "an edit is open"; null when one can.
    [[nodiscard]] const char* obstacle() const noexcept;
    /// Swap one step. False when there is none and, logged, while an edit or a step is under way.
    bool undo();
    bool redo();
    [[nodiscard]] u64 undoCount() const noexcept { return m_done.size(); }
    [[nodiscard]] u64 redoCount() const noexcept { return m_undone.size(); }
    /// Index 0 is the next step for undo or redo. Empty out of range.
    [[nodiscard]] UndoStep undoStep(u64 index) const;
    [[nodiscard]] UndoStep redoStep(u64 index) const;
    [[nodiscard]] u64 bytes() const noexcept { return m_bytes; }

    // ---- Places ----------------------------------------------------------------------------

    /// Names the present state; an earlier state of that name loses it.
    void setCheckpoint(String name);
    /// Undoes or redoes up to a named state; false when it is unknown or out of reach.
    bool returnTo(const String& name);
    /// Returns the names of states within reach, oldest first.
    [[nodiscard]] StringVector checkpoints() const;
    void markSaved();
    [[nodiscard]] bool isSaved() const noexcept;

    /// Forgets all steps.
    void clear();

private:
    struct Step {
        // The state that the step led to when it was new.
        u64 id = 0;
        String doText;
        String undoText;
        Changes changes;
        u64 bytes = 0;
    };
    struct Mark {
        u64 changes;
        u64 operations;
        // Taken back as soon as the surrounding operation allows.
        bool isCancelled = false;
    };

    [[nodiscard]] u64 state() const noexcept { return m_done.empty() ? m_base : m_done.back().id; }
    [[nodiscard]] bool canReplay(const char* what) const;
    bool turn(std::list<Step>& from, std::list<Step>& to);
    void replay(Step& step, AllCalls& calls);
    void turnAll(Step& step);
    void turnAgain(Step& step) noexcept;
    void takeBackCancelled() noexcept;
    void turnBack(Change& change);
    void closeStep() noexcept;
    void keepStep() noexcept;
    static void condense(Changes& changes) noexcept;
    void keep(Step&& step) noexcept;
    void trim(std::list<Step>& dropped) noexcept;
    [[nodiscard]] u64 distanceTo(u64 id, bool& isBack) const noexcept;
    static u64 bytesOf(const Step& step) noexcept;
    static UndoStep describe(const Step& step);

    HistoryOwner& m_owner;
    Scene& m_scene;
    UndoLimits m_limits;
    std::list<Step> m_done;
    // The last element is the next step for redo.
    std::list<Step> m_undone;
    // One empty step, allocated early, so that closing a step cannot fail.
    std::list<Step> m_ready;
    u64 m_bytes = 0;
    u64 m_lastId = 0;
    // The state before the oldest step.
    u64 m_base = 0;
    u64 m_saved = 0;
    std::unordered_map<String, u64> m_checkpoints;

    // The changes of the open step.
    Changes m_open;
    // Empty, with capacity for all of `m_open`, so that `takeBack` allocates nothing.
    Changes m_taken;
    std::vector<Mark> m_marks;
    u64 m_operations = 0;
    String m_doText;
    String m_undoText;
    // While true, changes that are added are dropped.
    bool m_isDropping = false;
    bool m_isEnabled = false;
    bool m_isReplaying = false;
    std::atomic<bool> m_isMissing = false;
};

} // namespace qv::kelvo_sdk::impl
