#include "kelvo/sdk/impl/graph/modifier_list.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/base/name.h"

namespace qv::kelvo_sdk::impl {

const Input* modifierListOf(const Node& node) noexcept {
    const auto* list = implOf(node.lookUpInput(knownNames().modifiers));
    return list && !list->members().empty() ? list : nullptr;
}

bool isModifierList(const Input& input) noexcept {
    const auto* parent = implOf(input.parent());
    const Input& top = parent ? *parent : input;
    if (top.parent()) return false;
    constexpr NameView name("modifiers");
    return top.nameHash() == name.foldedHash() &&
           top.ownName().equalsNoCase(knownNames().modifiers);
}

} // namespace qv::kelvo_sdk::impl
