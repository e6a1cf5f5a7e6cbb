#include "kelvo/sdk/impl/graph/modifier_names.h"

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether a node has another input of the name of this one.
bool hasNamesake(const Node& node, const Input& input) {
    InputWalk inputs(node.inputs());
    while (const Input* next = inputs.next())
        if (next != &input && next->ownName().equalsNoCase(input.ownName())) return true;
    return false;
}

// Tells whether a modifier changes other inputs of the name of this one, in any node.
bool changesNamesakes(const Node& modifier, const Input& input) {
    const auto& node = implOf(*input.node());
    if (hasNamesake(node, input)) return true;
    auto* scene = implOf(node.liveScene());
    bool isFound = false;
    if (scene)
        scene->links().forEach(&modifier, [&](const Input& link) {
            const auto* owner = implOf(link.node());
            isFound = isFound || (owner && owner != &node && isModifierList(link) &&
                                  hasNamesake(*owner, input));
        });
    return isFound;
}

// The list by which a modifier names inputs, null when it has none. Its type need not be known:
// scenes are edited without their libraries, too.
Input* listOfModifier(const Input& element) {
    const auto* modifier = implOf(linkedNode(element));
    auto* list = modifier ? implOf(modifier->lookUpInput(knownNames().modifies)) : nullptr;
    return list && list->type() == AttrType::String ? list : nullptr;
}

String replaced(const StringVector& names, const String& before, const String& after,
                bool keepsBefore) {
    StringVector made;
    const bool isThere = names.contains(after, true);
    for (const String& each : names) {
        const bool isRenamed = each.equalsNoCase(before);
        if (!isRenamed || keepsBefore) made.push_back(each);
        if (isRenamed && !isThere && !made.contains(after, true)) made.push_back(after);
    }
    return made.join(",");
}

} // namespace

// Modifiers find names whatever their case.
std::vector<ModifierNames> modifierNamesAfter(const Input& renamed, const String& name) {
    const auto* node = implOf(renamed.node());
    const Input* modifiers = node ? modifierListOf(*node) : nullptr;
    const String& before = renamed.ownName();
    std::vector<ModifierNames> lists;
    if (!modifiers || before.isEmpty() || before.equalsNoCase(name)) return lists;
    for (const IInput* element : modifiers->members()) {
        Input* list = listOfModifier(implOf(*element));
        const auto isList = [=](const ModifierNames& met) { return met.input.get() == list; };
        if (!list || std::ranges::any_of(lists, isList)) continue;
        const StringVector names = list->ownValue().asString().split(',', true, false);
        if (!names.contains(before, true)) continue;
        const bool keepsBefore = changesNamesakes(implOf(*list->node()), renamed);
        lists.push_back({RefersTo<Input>(list), replaced(names, before, name, keepsBefore)});
    }
    return lists;
}

} // namespace qv::kelvo_sdk::impl
