// ---- Undo ------------------------------------------------------------------------------
// The history does the work. Each call keeps the scene alive until it returns, because
// observers may drop the last reference.

#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

bool Scene::undoEnabled() {
    return m_history.isEnabled();
}

bool Scene::undoInProgress() {
    return m_history.isReplaying();
}

bool Scene::setUndoEnabled(bool enabled) {
    const RefersTo<Scene> self(this);
    return m_history.setEnabled(enabled);
}

void Scene::setUndoLimits(const UndoLimits& limits) {
    const RefersTo<Scene> self(this);
    m_history.setLimits(limits);
}

bool Scene::undo() {
    const RefersTo<Scene> self(this);
    return m_history.undo();
}

bool Scene::redo() {
    const RefersTo<Scene> self(this);
    return m_history.redo();
}

u64 Scene::undoCount() const {
    return m_history.undoCount();
}

u64 Scene::redoCount() const {
    return m_history.redoCount();
}

UndoStep Scene::undoStep(u64 index) const {
    return m_history.undoStep(index);
}

UndoStep Scene::redoStep(u64 index) const {
    return m_history.redoStep(index);
}

u64 Scene::undoBytes() const {
    return m_history.bytes();
}

void Scene::setCheckpoint(String name) {
    m_history.setCheckpoint(std::move(name));
}

bool Scene::returnTo(String name) {
    const RefersTo<Scene> self(this);
    return m_history.returnTo(name);
}

StringVector Scene::checkpoints() const {
    return m_history.checkpoints();
}

void Scene::markSaved() {
    m_history.markSaved();
}

bool Scene::isSaved() const {
    return m_history.isSaved();
}

} // namespace qv::kelvo_sdk::impl
