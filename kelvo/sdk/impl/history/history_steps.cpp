// Undoes and redoes the steps of a history: all changes of a step or, with an exception, none.

#include "kelvo/sdk/impl/history/history.h"

#include "kelvo/sdk/impl/history/all_calls.h"
#include "kelvo/sdk/impl/history/news_hold.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace qv::kelvo_sdk::impl {

bool History::setEnabled(bool enabled) {
    if (enabled == m_isEnabled) return true;
    if (!canReplay("switch undo on or off")) return false;
    const bool wasSaved = isSaved();
    clear();
    m_isEnabled = enabled;
    if (wasSaved) markSaved();
    return true;
}

void History::setLimits(const UndoLimits& limits) {
    m_limits = limits;
    std::list<Step> dropped;
    trim(dropped);
}

bool History::canReplay(const char* what) const {
    if (m_isReplaying)
        logError("Cannot %s while a step is undone or redone.", what);
    else if (m_operations != 0)
        logError("Cannot %s while a change is under way.", what);
    else if (!m_marks.empty())
        logError("Cannot %s while an edit is open.", what);
    else
        return true;
    return false;
}

const char* History::obstacle() const noexcept {
    if (m_isReplaying) return "a step is undone or redone";
    if (m_operations != 0) return "a change is under way";
    return m_marks.empty() ? nullptr : "an edit is open";
}

bool History::undo() {
    return canReplay("undo") && !m_done.empty() && turn(m_done, m_undone);
}

bool History::redo() {
    return canReplay("redo") && !m_undone.empty() && turn(m_undone, m_done);
}

// Swaps the last step of one list and makes it the last of the other. If memory runs out, the step
// stays where it was.
bool History::turn(std::list<Step>& from, std::list<Step>& to) {
    m_open.reserve(from.back().changes.size());
    m_taken.reserve(from.back().changes.size());
    std::list<Step> turning;
    turning.splice(turning.end(), from, std::prev(from.end()));
    AllCalls calls;
    try {
        replay(turning.back(), calls);
    } catch (...) {
        from.splice(from.end(), turning);
        m_owner.editEnded();
        throw;
    }
    to.splice(to.end(), turning);
    m_owner.editEnded();
    calls.end();
    return true;
}

// Observers are notified when the whole step is swapped.
void History::replay(Step& step, AllCalls& calls) {
    ModifierHold modifiers(m_owner);
    const CertainTelling certain;
    NewsHold news;
    const std::unique_ptr<bool, void (*)(bool*)> end(&m_isReplaying, [](bool* is) { *is = false; });
    m_isReplaying = true;
    turnAll(step);
    calls.make([&] { news.release(); });
    calls.make([&] { modifiers.release(); });
    step.changes = std::move(m_open);
    m_open.clear();
    for (const auto& change : step.changes)
        change->isBeside = false;
    m_bytes -= step.bytes;
    step.bytes = bytesOf(step);
    m_bytes += step.bytes;
}

// Swaps all changes or, with an exception, none. The swapped changes become the open step.
void History::turnAll(Step& step) {
    const auto start = NewsHold::mark();
    try {
        for (u64 i = step.changes.size(); i-- > 0;)
            step.changes[i]->expect(m_scene);
        while (!step.changes.empty()) {
            Change& change = *step.changes.back();
            change.prepareSwap(m_scene);
            reserve();
            add(std::move(step.changes.back()));
            change.isBeside = false;
            step.changes.pop_back();
            change.swap(m_scene);
        }
        for (u64 i = 0; i < m_open.size(); ++i)
            m_open[i]->settle();
    } catch (...) {
        NewsHold::dropSince(start);
        turnAgain(step);
        throw;
    }
}

// Swaps back, without notifications, the changes that were already swapped.
void History::turnAgain(Step& step) noexcept {
    const NewsHold unheard(NewsHold::Kind::Muted);
    while (!m_open.empty()) {
        auto change = std::move(m_open.back());
        m_open.pop_back();
        change->swap(m_scene);
        // The capacity suffices: the change came from this list.
        if (!change->isBeside) step.changes.push_back(std::move(change));
    }
}

// Dropped steps are destroyed last, when the history is in order: destructors may call back.
void History::keep(Step&& step) noexcept {
    std::list<Step> dropped = std::exchange(m_undone, {});
    for (const Step& undone : dropped)
        m_bytes -= undone.bytes;
    step.id = ++m_lastId;
    step.bytes = bytesOf(step);
    m_bytes += step.bytes;
    m_ready.front() = std::move(step);
    m_done.splice(m_done.end(), m_ready, m_ready.begin());
    trim(dropped);
}

void History::trim(std::list<Step>& dropped) noexcept {
    while (!m_done.empty() && (m_done.size() > m_limits.steps || m_bytes > m_limits.bytes)) {
        m_base = m_done.front().id;
        m_bytes -= m_done.front().bytes;
        dropped.splice(dropped.end(), m_done, m_done.begin());
    }
}

void History::clear() {
    const auto done = std::exchange(m_done, {});
    const auto undone = std::exchange(m_undone, {});
    const auto state = done.empty() ? m_base : done.back().id;
    m_base = state;
    m_bytes = 0;
    m_checkpoints.clear();
}

u64 History::bytesOf(const Step& step) noexcept {
    u64 bytes = sizeof(Step) + step.doText.size() + step.undoText.size();
    for (const auto& change : step.changes)
        bytes += sizeof(change) + change->bytes();
    return bytes;
}

UndoStep History::undoStep(u64 index) const {
    return index < m_done.size()
               ? describe(*std::next(m_done.rbegin(), static_cast<std::ptrdiff_t>(index)))
               : UndoStep();
}

UndoStep History::redoStep(u64 index) const {
    return index < m_undone.size()
               ? describe(*std::next(m_undone.rbegin(), static_cast<std::ptrdiff_t>(index)))
               : UndoStep();
}

UndoStep History::describe(const Step& step) {
    UndoStep told{step.doText, step.undoText, {}, step.bytes};
    std::unordered_set<String> met;
    for (const auto& change : step.changes) {
        String subject = change->subject();
        if (met.insert(subject).second) told.touched.push_back(std::move(subject));
    }
    if (told.doText.isEmpty()) {
        told.doText = step.changes.front()->text();
        if (met.size() > 1)
            told.doText +=
                String::format(" and %llu more", static_cast<unsigned long long>(met.size() - 1));
    }
    if (told.undoText.isEmpty()) told.undoText = "Undo: " + told.doText;
    return told;
}

// ---- Places --------------------------------------------------------------------------------

void History::setCheckpoint(String name) {
    m_checkpoints[std::move(name)] = state();
}

// Returns how many steps away a state is, `noIndex` when no undo or redo leads to it.
u64 History::distanceTo(u64 id, bool& isBack) const noexcept {
    isBack = true;
    const auto hasId = [id](const Step& step) { return step.id == id; };
    if (id == m_base) return m_done.size();
    const auto done = std::ranges::find_if(m_done, hasId);
    if (done != m_done.end()) return static_cast<u64>(std::distance(done, m_done.end())) - 1;
    isBack = false;
    const auto undone = std::ranges::find_if(m_undone, hasId);
    if (undone == m_undone.end()) return noIndex;
    return static_cast<u64>(std::distance(undone, m_undone.end()));
}

bool History::returnTo(const String& name) {
    const auto place = m_checkpoints.find(name);
    if (place == m_checkpoints.end() || !canReplay("return to a checkpoint")) return false;
    bool isBack = false;
    u64 distance = distanceTo(place->second, isBack);
    if (distance == noIndex) return false;
    for (; distance != 0; --distance)
        if (!(isBack ? undo() : redo())) return false;
    return true;
}

StringVector History::checkpoints() const {
    std::vector<std::pair<u64, String>> found;
    bool isBack = false;
    for (const auto& [name, id] : m_checkpoints)
        if (distanceTo(id, isBack) != noIndex) found.emplace_back(id, name);
    std::ranges::sort(found, [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : a.second.view() < b.second.view();
    });
    StringVector names;
    for (auto& [id, name] : found)
        names.push_back(std::move(name));
    return names;
}

void History::markSaved() {
    m_saved = state();
    m_isMissing.store(false, std::memory_order_relaxed);
}

bool History::isSaved() const noexcept {
    return m_saved == state() && !m_isMissing.load(std::memory_order_relaxed);
}

} // namespace qv::kelvo_sdk::impl
