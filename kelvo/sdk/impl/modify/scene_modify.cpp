#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/modify/modifiers.h"

// ---- Modifiers -----------------------------------------------------------------------------
// Values that the modifiers of a node write hide the user's, and never replace them.

namespace qv::kelvo_sdk::impl {

Modifiers& Scene::modifiers() noexcept {
    return *m_modifiers;
}

bool Scene::isModified(const Node& node) const {
    return m_modifiers->has(node);
}

void Scene::applyModifiers(INode* node) {
    if (node && contains(*node)) modifiers().watch(static_cast<Node&>(*node));
}

void Scene::modify(const IInput* input) {
    const auto& changed = static_cast<const Input&>(*input);
    const bool isList = isModifierList(changed);
    if (!isList && m_modifiers->isIdle()) return;
    auto* node = static_cast<Node*>(changed.node());
    if (!node || !contains(*node)) return;
    if (isList)
        modifiers().watch(*node);
    else
        m_modifiers->changed(*node, changed);
}

} // namespace qv::kelvo_sdk::impl
