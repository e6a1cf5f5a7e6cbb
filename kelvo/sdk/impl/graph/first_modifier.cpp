#include "kelvo/sdk/impl/graph/first_modifier.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/node_links.h"

namespace qv::kelvo_sdk::impl {

namespace {

bool keepsValues(const Node& node) {
    bool isFound = false;
    visitInputsInPlace(node, [&](const Input& input) { isFound |= input.stashed() != nullptr; });
    return isFound;
}

} // namespace

FirstModifier::FirstModifier(const Input& list) {
    if (isModifierList(list) && list.node()) begin(implOf(*list.node()));
}

FirstModifier::FirstModifier(const Input& input, const String& name) {
    const bool isList = !input.parent() && name.equalsNoCase(knownNames().modifiers);
    if (isList && !input.members().empty()) begin(implOf(*input.node()));
}

void FirstModifier::begin(Node& node) {
    auto* scene = implOf(node.liveScene());
    if (!scene || modifierListOf(node) || scene->isModified(node) || !keepsValues(node)) return;
    m_node = RefersTo<Node>(&node);
    m_scene = RefersTo<Scene>(scene);
    m_record.emplace(*scene);
    m_deferred.emplace();
}

void FirstModifier::useKeptValues() const {
    if (!m_node) return;
    visitInputs(*m_node, [](Input& input) {
        if (input.stashed()) input.useStashed({});
    });
}

void FirstModifier::release() {
    if (m_deferred) m_deferred->release();
}

} // namespace qv::kelvo_sdk::impl
