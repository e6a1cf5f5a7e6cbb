// ---- Modifiers -------------------------------------------------------------------------
// While modifiers write to the input, its value is theirs and the one kept aside is the user's.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/modify/modifiers.h"

namespace qv::kelvo_sdk::impl {

bool Input::isModified() const {
    return stashed() && isUpToModifiers();
}

// A value that a modifier writes is reported by `Modifiers::tell`, once all modifiers have written.
// Any other value is the user's: it replaces the kept value, and the node is modified again.
bool Input::storeModified(Value&& value) {
    Modifiers& modifiers = implOf(m_node->scene())->modifiers({});
    const bool isModifiers = modifiers.areWriting(*m_node) && !isModifierList(*this);
    const Value before = isModifiers ? m_value : ownValue();
    if (before == value) return true;
    if (!writable(value)) return false;
    if (isModifiers) {
        modifiers.noteWrite(*this);
        stash();
        replaceValue(value);
        return true;
    }
    replaceUserValue(std::move(value), &before);
    return true;
}

} // namespace qv::kelvo_sdk::impl
