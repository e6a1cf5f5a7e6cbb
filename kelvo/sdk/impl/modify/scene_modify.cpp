// ---- Modifiers -------------------------------------------------------------------------
// Values that modifiers write hide the user's values and never replace them.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/modify/modifiers.h"

namespace qv::kelvo_sdk::impl {

std::unique_ptr<SceneFollower> Scene::makeModifiers(Scene& scene) {
    return std::make_unique<Modifiers>(scene);
}

Modifiers& Scene::modifiers(Only<Input, Scene> /*key*/) noexcept {
    return static_cast<Modifiers&>(*m_modifiers);
}

bool Scene::isModified(const Node& node) const {
    return static_cast<const Modifiers&>(*m_modifiers).has(node);
}

void Scene::applyModifiers(INode* node) {
    if (node && contains(*node)) modifiers({}).watch(implOf(*node));
}

void Scene::applyModifiersLater() noexcept {
    modifiers({}).fallBehind();
}

void Scene::lastModifierLeft(Node& node) {
    modifiers({}).listLeft(node);
}

void Scene::holdModifiers() noexcept {
    modifiers({}).hold();
}

void Scene::releaseModifiers(bool isToRun) {
    modifiers({}).release(isToRun);
}

} // namespace qv::kelvo_sdk::impl
