#include "sdk/impl/input.h"

#include "sdk/impl/connection_loop.h"
#include "sdk/impl/conversion.h"
#include "sdk/impl/edit_step.h"
#include "sdk/impl/input_changes.h"
#include "sdk/impl/node_links.h"

#include "base/log.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

IOutput* Input::source() const {
    return sourceOutput();
}

bool Input::takes(const Output& output) const noexcept {
    if (output.type() != AttrType::Buffer || type() != AttrType::Buffer)
        return kindsConvert(output.type(), type());
    return dataType() == DataType::Null || dataType() == output.dataType();
}

bool Input::connect(IOutput* output) {
    auto* after = static_cast<Output*>(output);
    Output* before = sourceOutput();
    if (!after) {
        disconnect();
        return true;
    }
    if (after == before) return true;
    if (!takes(*after)) {
        logWarning("Cannot connect input '%s' (%s) to output '%s' (%s): the kinds do not convert.",
                   path().buf(), typeName().buf(), after->path().buf(), after->typeName().buf());
        return false;
    }
    if (closesLoop(*after, *this)) {
        logWarning("Cannot connect input '%s' to output '%s': this closes the loop %s.",
                   path().buf(), after->path().buf(), loopText(*after, *this).buf());
        return false;
    }
    EditStep step(m_node);
    step.prepare<SourceChange>(*this);
    setSource(after);
    step.commit();
    if (m_node) m_node->onInputConnected(this, before, after);
    return true;
}

bool Input::disconnect() {
    Output* before = sourceOutput();
    if (!before) return false;
    // The handle lets observers read the output even when this was the last tie to it.
    const RefersTo<Output> held(before);
    EditStep step(m_node);
    step.prepare<SourceChange>(*this);
    setSource(nullptr);
    step.commit();
    if (m_node) m_node->onInputConnected(this, before, nullptr);
    return true;
}

// Keeps both ends right and tells nobody.
void Input::setSource(Output* output, u64 rank) {
    if (sourceOutput() == output) return;
    InputExtras& own = extras();
    if (own.source) own.source->removeTarget(own.sourceSlot);
    own.source = output;
    if (output) own.sourceSlot = output->addTarget(this, rank);
    dropHash();
}

// The output goes away and has taken this input, its last target, off its list.
void Input::sourceDied(Output* output) {
    const bool isFree = !m_node || !m_node->scene();
    EditStep step(isFree ? static_cast<const Node*>(output->node()) : m_node);
    step.prepare<SourceChange>(*this, *output, output->targetCount());
    m_extras->source = nullptr;
    step.commit();
    dropHash();
    if (m_node) m_node->onInputConnected(this, output, nullptr);
}

// A node that has no scene yet may come into the one of this input.
Scene* Input::sceneFor(const INode* node) const {
    IScene* scene = node ? node->scene() : nullptr;
    if (node && !scene && m_node) scene = m_node->scene();
    return static_cast<Scene*>(scene);
}

// Keeps the place of the value that is kept aside, as `linkTo` does for the other.
void Input::linkStash() {
    Stash& kept = *m_extras->stash;
    if (kept.link.table || kept.value.type() != AttrType::Node) return;
    INode* node = kept.value.asNode();
    Scene* scene = sceneFor(node);
    if (!scene) return;
    kept.link.input = this;
    scene->stashLinks().add(kept.link, node);
}

// Keeps the place of this input among those that link to a node.
void Input::linkTo(INode* node) {
    Scene* scene = sceneFor(node);
    if (!scene && !m_extras) return;
    Link& link = extras().link;
    if (link.table) link.table->remove(link);
    if (!scene) return;
    link.input = this;
    scene->links().add(link, node);
}

void Input::rememberLinks() {
    INode* linked = linkedNode(*this);
    if (linked && !(m_extras && m_extras->link.table)) linkTo(linked);
    if (stashed()) linkStash();
    for (IInput* member : members())
        static_cast<Input*>(member)->rememberLinks();
}

// The node leaves the scene, so that even a read-only input lets it go. What is kept aside is the
// user's, and so is the change.
void Input::relink(Scene& scene, const INode& from, INode* to) {
    const Value* kept = stashed();
    const bool isKept = kept && kept->type() == AttrType::Node && kept->asNode() == &from;
    const bool isHeld = linkedNode(*this) == &from;
    if (!isKept && !isHeld) return;
    EditStep step(scene);
    if (isModified() ? isKept : isHeld) step.prepare<ValueChange>(*this);
    if (isKept) setStashed(Value(to));
    if (isHeld) {
        Value value(to);
        replaceValue(value);
    }
    step.commit();
    changed(Value(const_cast<INode*>(&from)));
}

void Input::forgetLink() noexcept {
    m_value = Value(static_cast<INode*>(nullptr));
    dropHash();
}

void Input::forgetStashedLink() noexcept {
    m_extras->stash->value = Value(static_cast<INode*>(nullptr));
}

void Input::redirect(INode* link, Output* source, u64 rank) {
    setSource(source, rank);
    if (type() != AttrType::Node || m_value.asNode() == link) return;
    linkTo(link);
    m_value = Value(link);
    dropHash();
}

} // namespace qv::kelvo_sdk::impl
