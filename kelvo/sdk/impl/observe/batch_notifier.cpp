#include "kelvo/sdk/impl/observe/batch_notifier.h"

#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/base/log.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

bool BatchNotifier::subscribe(BatchObserver* observer) {
    if (m_observers.contains(observer)) return false;
    m_observers.push_back(observer);
    return true;
}

// Takes the lock, as other threads may subscribe at the same time.
template<typename Thing>
void BatchNotifier::expectThing(const Thing* thing) {
    const std::lock_guard lock(m_scene.observerMutex({}));
    if (!m_observers.empty()) m_batch.expect(thing);
}

void BatchNotifier::noteShift(const Node& node, bool isIn) noexcept {
    const std::lock_guard lock(m_scene.observerMutex({}));
    if (m_observers.empty()) return;
    const u64 index = m_scene.indexOf(node);
    m_batch.nodeShifted(node, {index, isIn, index + 1 == m_scene.nodeCount()});
}

void BatchNotifier::editsEnded() noexcept {
    if (!m_scene.isEditing()) deliver();
}

template<typename Note>
void BatchNotifier::note(const Note& note) {
    if (m_observers.empty()) return;
    try {
        note(m_batch);
    } catch (const std::bad_alloc&) {
        // Only for a change that `expect` did not prepare.
        logNoMemory("Observers were not told of an edit: there is no memory for it.");
    }
    if (!m_scene.isEditing()) deliver();
}

void BatchNotifier::nodeAdded(INode* node) {
    note([=](NetChanges& batch) { batch.nodeAdded(node); });
}
void BatchNotifier::nodeRemoved(INode* node) {
    note([=](NetChanges& batch) { batch.nodeRemoved(node); });
}
void BatchNotifier::nodeRenamed(INode* node, String before) {
    note([&](NetChanges& batch) { batch.nodeRenamed(node, before); });
}
void BatchNotifier::nodeMoved(INode* node, u64 /*from*/) {
    note([=](NetChanges& batch) { batch.nodeMoved(node); });
}
void BatchNotifier::inputAdded(const IInput* input) {
    note([=](NetChanges& batch) { batch.inputAdded(input); });
}
void BatchNotifier::inputRemoved(const IInput* input) {
    note([=](NetChanges& batch) { batch.inputRemoved(input); });
}
void BatchNotifier::outputAdded(const IOutput* output) {
    note([=](NetChanges& batch) { batch.outputAdded(output); });
}
void BatchNotifier::outputRemoved(const IOutput* output) {
    note([=](NetChanges& batch) { batch.outputRemoved(output); });
}
void BatchNotifier::inputChanged(const IInput* input, const AttrData* previous) {
    note([=](NetChanges& batch) { batch.inputChanged(input, previous); });
}
void BatchNotifier::inputConnected(const IInput* input, const IOutput* before,
                                   const IOutput* /*after*/) {
    note([=](NetChanges& batch) { batch.inputConnected(input, before); });
}
void BatchNotifier::inputRenamed(const IInput* input, String before) {
    note([&](NetChanges& batch) { batch.inputRenamed(input, before); });
}

namespace {

// Call inside a `catch` block. A log handler may throw as well.
void logThrown() noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& thrown) {
            logError("An observer threw when it was told of an edit: %s.", thrown.what());
        } catch (...) {
            logError("An observer threw when it was told of an edit.");
        }
    } catch (...) {
    }
}

} // namespace

// Edits of observers are delivered in the next round. Holds the scene for all rounds; an observer
// may drop the last reference.
void BatchNotifier::deliver() noexcept {
    if (m_isDelivering || m_batch.empty()) return;
    const RefersTo<Scene> held(&m_scene);
    m_isDelivering = true;
    for (u32 round = 0; !m_batch.empty(); ++round) {
        if (round == maxRounds) {
            logError("The observers of a scene come to no end: they edit it each time they are "
                     "told of an edit. The rest is told with the next one.");
            break;
        }
        deliverRound();
    }
    m_isDelivering = false;
}

void BatchNotifier::deliverRound() noexcept {
    NetChanges batch = std::exchange(m_batch, {});
    const interfaces::SceneChanges& changes = batch.net();
    if (!changes.empty()) tell(changes);
}

void BatchNotifier::tell(const interfaces::SceneChanges& changes) noexcept {
    const std::lock_guard lock(m_scene.observerMutex({}));
    const CertainDelivery certain;
    tellEach(m_observers, [&](BatchObserver* observer) {
        try {
            observer->sceneChanged(changes);
        } catch (...) {
            logThrown();
        }
    });
}

} // namespace qv::kelvo_sdk::impl
