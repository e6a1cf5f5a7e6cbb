// ---- Stash -----------------------------------------------------------------------------
// At most one value is kept aside. A link in it counts as a link of the scene.

#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/record_scope.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <optional>

namespace qv::kelvo_sdk::impl {

void Input::stash() {
    if (!stashed() && !isArray() && !isObject()) setStashed(m_value);
}

// Observers are notified after the kept value is gone. When memory runs out or the value is
// refused, the kept value stays. If modifiers write to the input, the kept value is the user's and
// stays too.
bool Input::unstash() {
    if (!stashed()) return false;
    const Value kept = *stashed();
    if (isUpToModifiers()) return setValue(kept);
    const RefersTo<Scene> scene(m_node ? implOf(m_node->liveScene()) : nullptr);
    std::optional<RecordScope> record;
    if (scene) record.emplace(*scene);
    DeferredNotifications deferred;
    EditStep step(m_node);
    if (!setValue(kept)) return false;
    step.prepare<StashChange>(*this);
    dropStash();
    step.commit();
    if (m_node) m_node->described();
    deferred.release();
    return true;
}

void Input::useStashed(Only<FirstModifier> /*key*/) {
    EditStep step(m_node);
    Value kept = *stashed();
    step.prepare<StashChange>(*this);
    dropStash();
    step.commit();
    if (m_value != kept) replaceUserValue(std::move(kept), nullptr);
}

std::unique_ptr<Stash> Input::takeStashedBack(Only<Input, Modifiers> /*key*/) noexcept {
    Link& link = m_extras->stash->link;
    if (link.table) link.table->remove(link);
    auto stash = std::move(m_extras->stash);
    Value kept = stash->value;
    replaceValue(kept);
    return stash;
}

void Input::showAgain(const Value& value, std::unique_ptr<Stash> kept,
                      Only<Modifiers> /*key*/) noexcept {
    Value shown = value;
    replaceValue(shown);
    dropStash();
    if (!kept) return;
    m_extras->stash = std::move(kept);
    linkStash();
}

void Input::dropStash() noexcept {
    if (!stashed()) return;
    Link& link = m_extras->stash->link;
    if (link.table) link.table->remove(link);
    m_extras->stash.reset();
}

const Value* Input::stashed() const noexcept {
    return m_extras && m_extras->stash ? &m_extras->stash->value : nullptr;
}

// Reuses the memory of an earlier kept value.
void Input::replaceStash(Value value, Only<Input, NodeCopies, SceneBuilder> /*key*/) {
    if (!stashed()) extras().stash = std::make_unique<Stash>();
    Link& link = m_extras->stash->link;
    if (link.table) link.table->remove(link);
    m_extras->stash->value = std::move(value);
    linkStash();
    if (m_node) m_node->described();
}

void Input::setStashed(Value value) {
    EditStep step(isUpToModifiers() ? nullptr : m_node);
    step.prepare<StashChange>(*this);
    replaceStash(std::move(value), {});
    step.commit();
}

} // namespace qv::kelvo_sdk::impl
