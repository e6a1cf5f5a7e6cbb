// ---- History ---------------------------------------------------------------------------
// Recorded changes swap values, names and lists. These functions record nothing; all of them except
// `putMember`, `takeMember`, `entered` and `left` notify observers.

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

void Input::entered(Node* node, Input* parent, Only<InputListChange> /*key*/) {
    m_parent = parent;
    setNodeOfAll(node);
}

void Input::left(Only<InputListChange> /*key*/) {
    m_parent = nullptr;
    setNodeOfAll(nullptr);
}

void Input::exchangeValue(Value& other, Only<ValueChange> /*key*/) {
    Value before = ownValue();
    if (isModified()) dropStash();
    replaceValue(other);
    changed(std::move(before));
}

// Needs no memory, because an input that ever had a kept value has extras.
void Input::exchangeStash(std::unique_ptr<Stash>& other, Only<StashChange> /*key*/) {
    if (!other && !stashed()) return;
    std::unique_ptr<Stash>& kept = extras().stash;
    if (kept && kept->link.table) kept->link.table->remove(kept->link);
    std::swap(kept, other);
    if (kept) linkStash();
    if (m_node) m_node->described();
}

// The caller keeps the earlier source alive, which the notification names.
void Input::exchangeSource(Output* output, u64 rank, Only<SourceChange> /*key*/) {
    Output* const before = sourceOutput();
    // A removal that fails may be taken back before it has ended this connection.
    if (before == output) return;
    setSource(output, rank);
    if (m_node) m_node->onInputConnected(this, before, output);
}

u64 Input::sourceRank() const noexcept {
    const Output* source = sourceOutput();
    return source ? source->rankOfTarget(m_extras->sourceSlot) : noIndex;
}

namespace {

// Records the links in the value and in the kept value of an input.
void recordLinks(Input& input, EditStep& step) {
    const InputExtras* extras = input.ownExtras();
    if (!extras) return;
    if (extras->link.table) {
        step.prepare<ValueChange>(input);
        step.commit();
    }
    if (extras->stash && extras->stash->link.table && !input.isModified()) {
        step.prepare<StashChange>(input);
        step.commit();
    }
}

} // namespace

void Input::recordTies(Only<Input, Node> /*key*/) {
    if (!m_extras || !m_node) return;
    EditStep step(m_node);
    if (!step.isRecording()) return;
    std::vector<Input*> all{this};
    for (u64 i = 0; i < all.size(); ++i)
        for (IInput* member : all[i]->members())
            all.push_back(implOf(member));
    for (Input* input : all)
        recordLinks(*input, step);
    // Records later targets first: undo goes backwards, so each finds those before it in place.
    std::erase_if(all, [](const Input* input) { return !input->sourceOutput(); });
    std::ranges::stable_sort(all, std::greater(), &Input::sourceRank);
    for (Input* input : all) {
        step.prepare<SourceChange>(*input);
        step.commit();
    }
}

} // namespace qv::kelvo_sdk::impl
