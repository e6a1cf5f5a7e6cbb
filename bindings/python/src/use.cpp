#include "bindings/python/src/use.h"

#include <atomic>
#include <thread>
#include <unordered_map>

namespace qv::python {

namespace {

struct Uses {
    u32 readings = 0;
    u32 edits = 0;
    u32 scopes = 0;
    // The thread of the edits and scopes.
    std::thread::id editor;

    [[nodiscard]] bool areOver() const noexcept { return readings + edits + scopes == 0; }
    [[nodiscard]] bool isOther() const noexcept { return editor != std::this_thread::get_id(); }
};

// Read and written with the interpreter lock held. Never destroyed, because threads may still run
// when the program ends.
std::unordered_map<const IScene*, Uses>& uses() {
    static auto* all = new std::unordered_map<const IScene*, Uses>;
    return *all;
}

std::atomic<int> s_observers = 0;

[[noreturn]] void refuse(const char* reason) {
    raise(ErrorKind::Busy, String("The scene is in use: ") + reason);
}

void markEditor(Uses& now) {
    if (now.edits + now.scopes == 0) now.editor = std::this_thread::get_id();
}

void drop(const IScene* scene, u32 Uses::*count) {
    const auto found = uses().find(scene);
    --(found->second.*count);
    if (found->second.areOver()) uses().erase(found);
}

} // namespace

void checkEditable(const IScene* scene) {
    if (uses().empty()) return;
    const auto found = uses().find(scene);
    if (found == uses().end()) return;
    const Uses& now = found->second;
    if (now.readings > 0) refuse("it cannot be edited while it is being read.");
    if (now.edits + now.scopes > 0 && now.isOther()) refuse("another thread is editing it.");
}

void checkReadable(const IScene* scene) {
    if (uses().empty()) return;
    const auto found = uses().find(scene);
    if (found != uses().end() && found->second.edits > 0 && found->second.isOther())
        refuse("another thread is editing it.");
}

Edit::Edit(const Scene& scene, bool isComposed) {
    if (!scene) return;
    checkEditable(scene.get());
    if (isComposed || s_observers.load(std::memory_order_relaxed) > 0)
        m_scope.emplace(scene, String(), String());
}

void Edit::cancel() {
    if (m_scope) check(m_scope->cancel());
}

LongUse::LongUse(std::initializer_list<Scene> scenes, Way way) : m_way(way) {
    for (const Scene& scene : scenes) {
        if (!scene) continue;
        if (way == Way::Read)
            checkReadable(scene.get());
        else
            checkEditable(scene.get());
        m_scenes.push_back(scene);
    }
    if (way == Way::Edit && !m_scenes.empty() && s_observers.load(std::memory_order_relaxed) > 0)
        m_scope.emplace(m_scenes.front(), String(), String());
    for (const Scene& scene : m_scenes) {
        Uses& now = uses()[scene.get()];
        if (way != Way::Read) markEditor(now);
        ++(way == Way::Read ? now.readings : now.edits);
    }
    m_unlocked.emplace();
}

LongUse::~LongUse() {
    m_unlocked.reset();
    for (const Scene& scene : m_scenes)
        drop(scene.get(), m_way == Way::Read ? &Uses::readings : &Uses::edits);
}

void beginScope(const Scene& scene) {
    checkEditable(scene.get());
    Uses& now = uses()[scene.get()];
    markEditor(now);
    ++now.scopes;
}

void endScope(const Scene& scene) {
    drop(scene.get(), &Uses::scopes);
}

void countObservers(int change) noexcept {
    s_observers += change;
}

} // namespace qv::python
