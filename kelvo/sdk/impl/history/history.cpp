#include "kelvo/sdk/impl/history/history.h"

#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <unordered_set>
#include <utility>

// ---- Recording -----------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

History::~History() = default;

void History::closeOperation() noexcept {
    --m_operations;
    takeBackCancelled();
    if (isIdle()) closeStep();
}

void History::add(std::unique_ptr<Change> change) noexcept {
    change->isBeside = m_isReplaying;
    if (!m_isDropping) m_open.push_back(std::move(change));
}

// Looks only a few changes back, to stay cheap: an edit usually writes inputs one after the other.
bool History::keepsValueOf(const Input& input) const noexcept {
    constexpr u64 few = 4;
    const u64 mark = m_marks.empty() ? 0 : m_marks.back().changes;
    for (u64 i = m_open.size(); i > mark && m_open.size() - i < few; --i)
        if (m_open[i - 1]->valueOwner() == &input) return true;
    return false;
}

// ---- Edits ---------------------------------------------------------------------------------

void History::begin() {
    if (m_isEnabled && m_ready.empty()) m_ready.emplace_back();
    m_marks.push_back({m_open.size(), m_operations});
}

void History::end(String doText, String undoText) {
    if (m_marks.empty()) return;
    m_marks.pop_back();
    if (m_isReplaying) return;
    const bool isOutermost = m_marks.empty();
    if (!doText.isEmpty() && (isOutermost || m_doText.isEmpty())) m_doText = std::move(doText);
    if (!undoText.isEmpty() && (isOutermost || m_undoText.isEmpty()))
        m_undoText = std::move(undoText);
    if (isIdle()) closeStep();
}

void History::cancel(u64 depth) {
    if (depth == 0 || m_marks.empty()) return;
    m_marks[std::min<u64>(depth, m_marks.size()) - 1].isCancelled = true;
    takeBackCancelled();
    if (isIdle()) closeStep();
}

// Takes back cancelled edits, except those around the operation under way, which wait for its end.
void History::takeBackCancelled() noexcept {
    const auto isDue = [this](const Mark& mark) {
        return mark.isCancelled && mark.operations >= m_operations;
    };
    for (;;) {
        const auto mark = std::ranges::find_if(m_marks, isDue);
        if (mark == m_marks.end()) return;
        const u64 from = mark->changes;
        m_marks.erase(mark);
        takeBack(from);
    }
}

namespace {

// Observers may throw, and these functions are `noexcept`.
template<typename Call>
void guarded(const Call& call) noexcept {
    try {
        call();
    } catch (...) {
        logLost("while an edit was taken back");
    }
}

} // namespace

void History::rollBack(u64 from) noexcept {
    for (Mark& mark : m_marks)
        mark.changes = std::min(mark.changes, from);
    const DeferredNotifications muted(DeferredNotifications::Kind::Muted);
    const bool wasReplaying = std::exchange(m_isReplaying, true);
    while (m_open.size() > from) {
        const auto change = std::move(m_open.back());
        m_open.pop_back();
        guarded([&] { change->swap(m_scene); });
    }
    m_isReplaying = wasReplaying;
}

// Edits that observers make in answer are kept, as part of the surrounding step.
void History::takeBack(u64 from) noexcept {
    for (Mark& mark : m_marks)
        mark.changes = std::min(mark.changes, from);
    Changes taken = std::exchange(m_taken, {});
    const auto first = m_open.begin() + static_cast<std::ptrdiff_t>(from);
    std::ranges::move(first, m_open.end(), std::back_inserter(taken));
    m_open.erase(first, m_open.end());
    const CertainDelivery certain;
    const bool wasReplaying = std::exchange(m_isReplaying, true);
    DeferredNotifications deferred(DeferredNotifications::Kind::Certain);
    for (u64 i = taken.size(); i-- > 0;)
        guarded([&] { turnBack(*taken[i]); });
    for (const auto& change : taken)
        guarded([&] { change->settle(); });
    guarded([&] { deferred.release(); });
    m_isReplaying = wasReplaying;
    taken.clear();
    if (m_taken.capacity() < taken.capacity()) m_taken = std::move(taken);
}

void History::turnBack(Change& change) {
    m_isDropping = true;
    guarded([&] { change.prepareSwap(m_scene); });
    m_isDropping = false;
    change.swap(m_scene);
}

void History::closeStep() noexcept {
    keepStep();
    m_owner.editEnded();
}

void History::keepStep() noexcept {
    Step step{.doText = std::move(m_doText),
              .undoText = std::move(m_undoText),
              .changes = std::move(m_open)};
    m_doText = String();
    m_undoText = String();
    m_open.clear();
    if (step.changes.empty()) return;
    condense(step.changes);
    if (step.changes.empty()) return;
    if (!m_isEnabled) return missed();
    keep(std::move(step));
}

// Drops later changes of a value whose first change is in the step, then changes that ended at the
// first value. Keeps all from where memory runs out.
void History::condense(Changes& changes) noexcept {
    std::unordered_set<const void*> met;
    for (auto& change : changes) {
        if (changes.size() == 1) break;
        const void* owner = change->valueOwner();
        try {
            if (owner && !met.insert(owner).second) change.reset();
        } catch (const std::bad_alloc&) {
            break;
        }
    }
    std::erase_if(changes, [](const auto& change) { return !change || change->isNothing(); });
}

} // namespace qv::kelvo_sdk::impl
