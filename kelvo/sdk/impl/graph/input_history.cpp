// ---- History ---------------------------------------------------------------------------
// For recorded changes alone: nothing is recorded; all but `putMember`, `takeMember`, `entered`
// and `left` tell everyone.

#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace qv::kelvo_sdk::impl {

void Input::entered(Node* node, Input* parent) {
    m_parent = parent;
    setNodeOfAll(node);
}

void Input::left() {
    m_parent = nullptr;
    setNodeOfAll(nullptr);
}

void Input::exchangeValue(Value& other) {
    Value before = ownValue();
    if (isModified()) dropStash();
    replaceValue(other);
    other = before;
    changed(std::move(before));
}

// Takes no memory, as an input that was ever kept aside has extras.
void Input::exchangeStash(std::unique_ptr<Stash>& other) {
    if (!other && !stashed()) return;
    std::unique_ptr<Stash>& kept = extras().stash;
    if (kept && kept->link.table) kept->link.table->remove(kept->link);
    std::swap(kept, other);
    if (kept) linkStash();
}

void Input::exchangeSource(Output* output, u64 rank) {
    const RefersTo<Output> before(sourceOutput());
    setSource(output, rank);
    if (m_node) m_node->onInputConnected(this, before.get(), output);
}

u64 Input::sourceRank() const noexcept {
    const Output* source = sourceOutput();
    return source ? source->rankOfTarget(m_extras->sourceSlot) : noIndex;
}

void Input::recordTies() {
    if (!m_extras || !m_node) return;
    EditStep step(m_node);
    if (!step.isRecording()) return;
    std::vector<Input*> all{this};
    for (u64 i = 0; i < all.size(); ++i)
        for (IInput* member : all[i]->members())
            all.push_back(implOf(member));
    for (Input* input : all)
        input->recordLinks(step);
    // Undo goes from the last record to the first: each finds those before it in place.
    std::erase_if(all, [](const Input* input) { return !input->sourceOutput(); });
    std::ranges::stable_sort(all, std::greater(), &Input::sourceRank);
    for (Input* input : all) {
        step.prepare<SourceChange>(*input);
        step.commit();
    }
}

void Input::recordLinks(EditStep& step) {
    if (!m_extras) return;
    if (m_extras->link.table) {
        step.prepare<ValueChange>(*this);
        step.commit();
    }
    if (m_extras->stash && m_extras->stash->link.table && !isModified()) {
        step.prepare<StashChange>(*this);
        step.commit();
    }
}

} // namespace qv::kelvo_sdk::impl
