// ---- Stash -----------------------------------------------------------------------------
// The inputs that the node's modifiers name, at any depth, keep their values aside.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/node.h"

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

void Node::stash(IInput* input, const StringVector& names) {
    if (!input) return;
    const auto stashNamed = [&names](Input& next) {
        if (names.contains(next.name(), true)) next.stash();
    };
    stashNamed(implOf(*input));
    InputWalk members(implOf(input)->members());
    while (Input* member = members.next())
        stashNamed(*member);
}

} // namespace qv::kelvo_sdk::impl
