#include "sdk/impl/history.h"

#include "sdk/impl/all_calls.h"
#include "sdk/impl/modifiers.h"
#include "sdk/impl/news_hold.h"
#include "sdk/impl/scene.h"

#include "base/log.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

// ---- Steps ---------------------------------------------------------------------------------

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
    std::vector<Step> dropped;
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

bool History::undo() {
    if (!canReplay("undo") || m_done.empty()) return false;
    if (m_undone.size() == m_undone.capacity()) m_undone.reserve(2 * m_undone.size() + 8);
    Step step = std::move(m_done.back());
    m_done.pop_back();
    AllCalls calls;
    replay(step, calls);
    m_undone.push_back(std::move(step));
    m_scene.editEnded();
    calls.end();
    return true;
}

bool History::redo() {
    if (!canReplay("redo") || m_undone.empty()) return false;
    Step step = std::move(m_undone.back());
    m_undone.pop_back();
    AllCalls calls;
    replay(step, calls);
    m_done.push_back(std::move(step));
    m_scene.editEnded();
    calls.end();
    return true;
}

// Turns a step. Everyone is told when all of it is turned.
void History::replay(Step& step, AllCalls& calls) {
    m_open.reserve(step.changes.size());
    m_isReplaying = true;
    ModifierHold modifiers(m_scene);
    NewsHold news;
    for (; !step.changes.empty(); step.changes.pop_back()) {
        Change& change = *step.changes.back();
        calls.make([&] { change.prepareFlip(m_scene); });
        m_open.push_back(std::move(step.changes.back()));
        calls.make([&] { change.flip(m_scene); });
    }
    for (u64 i = 0; i < m_open.size(); ++i)
        calls.make([&] { m_open[i]->settle(); });
    calls.make([&] { news.release(); });
    calls.make([&] { modifiers.release(); });
    m_isReplaying = false;
    step.changes = std::move(m_open);
    m_open.clear();
    m_bytes -= step.bytes;
    step.bytes = bytesOf(step);
    m_bytes += step.bytes;
}

// What goes ends after the history is in order: destructors may come back here.
void History::keep(Step step) {
    std::vector<Step> dropped = std::exchange(m_undone, {});
    for (const Step& undone : dropped)
        m_bytes -= undone.bytes;
    step.id = ++m_lastId;
    step.bytes = bytesOf(step);
    m_bytes += step.bytes;
    m_done.push_back(std::move(step));
    trim(dropped);
}

void History::trim(std::vector<Step>& dropped) {
    while (!m_done.empty() && (m_done.size() > m_limits.steps || m_bytes > m_limits.bytes)) {
        m_base = m_done.front().id;
        m_bytes -= m_done.front().bytes;
        dropped.push_back(std::move(m_done.front()));
        m_done.pop_front();
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
    return index < m_done.size() ? describe(m_done[m_done.size() - 1 - index]) : UndoStep();
}

UndoStep History::redoStep(u64 index) const {
    return index < m_undone.size() ? describe(m_undone[m_undone.size() - 1 - index]) : UndoStep();
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

// Returns how many steps a state is away, `noIndex` when it is out of reach.
u64 History::distanceTo(u64 id, bool& isBack) const noexcept {
    isBack = true;
    const auto hasId = [id](const Step& step) { return step.id == id; };
    if (id == m_base) return m_done.size();
    const auto done = std::ranges::find_if(m_done, hasId);
    if (done != m_done.end()) return static_cast<u64>(m_done.end() - done) - 1;
    isBack = false;
    const auto undone = std::ranges::find_if(m_undone, hasId);
    return undone != m_undone.end() ? static_cast<u64>(m_undone.end() - undone) : noIndex;
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
