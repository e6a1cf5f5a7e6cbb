#include "sdk/impl/history.h"

#include "sdk/impl/news_hold.h"
#include "sdk/impl/scene.h"

#include "base/log.h"

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
    if (!m_isDropping) m_open.push_back(std::move(change));
}

// A few back, for edits that go from input to input.
bool History::keepsValueOf(const Input& input) const noexcept {
    constexpr u64 few = 4;
    const u64 mark = m_marks.empty() ? 0 : m_marks.back().changes;
    for (u64 i = m_open.size(); i > mark && m_open.size() - i < few; --i)
        if (m_open[i - 1]->valueOwner() == &input) return true;
    return false;
}

// ---- Edits ---------------------------------------------------------------------------------

void History::begin() {
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

// Those that began inside the operation under way, or while none was.
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

// Observers may throw, and there is nobody to catch it.
template<typename Call>
void guarded(const Call& call) noexcept {
    try {
        call();
    } catch (...) {
        logLost("while an edit was taken back");
    }
}

} // namespace

// What observers do about it stays, as part of what surrounds it.
void History::takeBack(u64 from) noexcept {
    for (Mark& mark : m_marks)
        mark.changes = std::min(mark.changes, from);
    Changes taken;
    try {
        taken.reserve(m_open.size() - from);
    } catch (const std::bad_alloc&) {
        return logError("An edit was not taken back: there is no memory for it.");
    }
    const auto first = m_open.begin() + static_cast<std::ptrdiff_t>(from);
    std::ranges::move(first, m_open.end(), std::back_inserter(taken));
    m_open.erase(first, m_open.end());
    const bool wasReplaying = std::exchange(m_isReplaying, true);
    NewsHold news;
    for (u64 i = taken.size(); i-- > 0;)
        guarded([&] { turnBack(*taken[i]); });
    for (const auto& change : taken)
        guarded([&] { change->settle(); });
    guarded([&] { news.release(); });
    m_isReplaying = wasReplaying;
}

void History::turnBack(Change& change) {
    m_isDropping = true;
    const std::unique_ptr<bool, void (*)(bool*)> end(&m_isDropping, [](bool* is) { *is = false; });
    change.prepareFlip(m_scene);
    m_isDropping = false;
    change.flip(m_scene);
}

void History::closeStep() noexcept {
    keepStep();
    m_scene.editEnded();
}

void History::keepStep() noexcept {
    Step step{.doText = std::move(m_doText),
              .undoText = std::move(m_undoText),
              .changes = std::move(m_open)};
    m_doText = String();
    m_undoText = String();
    m_open.clear();
    if (step.changes.empty()) return;
    try {
        condense(step.changes);
        if (step.changes.empty()) return;
        if (!m_isEnabled) return missed();
        keep(std::move(step));
    } catch (...) {
        clear();
        logError("An edit cannot be undone: there is no memory for it.");
    }
}

// Leaves out later values of what is there already, then what came back to its first value.
void History::condense(Changes& changes) {
    std::unordered_set<const void*> met;
    const auto isLater = [&met](const auto& change) {
        const void* owner = change->valueOwner();
        return owner && !met.insert(owner).second;
    };
    if (changes.size() > 1) std::erase_if(changes, isLater);
    std::erase_if(changes, [](const auto& change) { return change->isNothing(); });
}

} // namespace qv::kelvo_sdk::impl
