// ---- Stash -----------------------------------------------------------------------------
// The inputs that the node's modifiers name, at any depth, put their values aside.

#include "sdk/impl/node.h"

#include "sdk/impl/input.h"
#include "sdk/impl/known_names.h"
#include "sdk/node.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

void Node::stash() {
    const KnownNames& known = knownNames();
    if (!lookUpInput(known.modifiers)) return;
    const kelvo_sdk::Input modifiers(lookUpInput(known.modifiers));
    StringVector names;
    for (u64 i = 0; i < modifiers.inputCount(); ++i) {
        const kelvo_sdk::Node modifier = modifiers.input(i).asNode(false, nullptr);
        if (!modifier.isTypeOf(known.modifier)) continue;
        const String text = modifier[known.modifies].asString(false, nullptr);
        for (const String& piece : text.split(',', true, false)) {
            if (!names.contains(piece, true)) names.push_back(piece);
        }
    }
    for (u64 i = 0; i < m_inputs.size(); ++i)
        stash(findInputByIndex(i), names);
}

// Depth first without recursion: inputs may be nested deeper than the stack goes.
void Node::stash(IInput* input, const StringVector& names) {
    if (!input) return;
    std::vector<IInput*> left{input};
    while (!left.empty()) {
        auto* next = static_cast<Input*>(left.back());
        left.pop_back();
        if (names.contains(next->name(), true)) next->stash();
        for (u64 i = next->inputCount(); i-- > 0;)
            left.push_back(next->input(i));
    }
}

} // namespace qv::kelvo_sdk::impl
