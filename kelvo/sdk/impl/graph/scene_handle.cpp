// Functions of the handle of scenes that change something. They find the reason after a failure;
// those that may fail after a notification hold the scene, because observers may drop the last
// reference.

#include "kelvo/sdk/scene.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk {

namespace {

using impl::emptyHandle;
using impl::failureOf;
using impl::implOf;

// Returns the reason why an edit of the node in that scene fails; empty when the scene has the
// node.
String absence(const Scene& scene, const Node& node) {
    if (!node) return "There is no node: the handle is empty.";
    const bool isThere = implOf(*scene).contains(*node);
    return isThere ? String() : "Node '" + node.name() + "' is not of this scene.";
}

String creationRefusal(const impl::Scene& scene, const String& type, const String& name) {
    if (!type.isSimpleCID()) return impl::nameRefusal(type, "type");
    if (!name.isSimpleCID()) return impl::nameRefusal(name, "name");
    const impl::Node* definition = scene.findType(type);
    return definition && definition->isAbstract() ? impl::abstractCreation(type, name) : String();
}

// Returns the failure of an undo or redo, with its reason.
Result turnFailure(const Scene& scene, const char* what) {
    const char* obstacle = implOf(*scene).history().obstacle();
    if (!obstacle) return Result::failure(String::format("There is no step to %s.", what));
    return Result::failure(String::format("Cannot %s while %s.", what, obstacle));
}

} // namespace

Made<Node> Scene::createNode(String type, String name) const {
    if (!get()) return emptyHandle("scene");
    Scene held(*this);
    Node made(held->createNode(type, name));
    const String reason = made ? String() : creationRefusal(implOf(*held), type, name);
    // Drops the extra reference: a scene that observers abandoned is destroyed, and the node leaves
    // it.
    held.reset();
    if (made && made->scene()) return made;
    return failureOf(reason, "An observer removed node '" + name + "'.");
}

Result Scene::removeNode(const Node& node) const {
    if (!get()) return emptyHandle("scene");
    if (get()->removeNode(node.get())) return {};
    return Result::failure(absence(*this, node));
}

Result Scene::renameNode(const Node& node, const String& name) const {
    if (!get()) return emptyHandle("scene");
    if (get()->renameNode(node.get(), name)) return {};
    return failureOf(absence(*this, node), impl::nameRefusal(name, "name"));
}

Result Scene::moveNode(const Node& node, u64 index) const {
    if (!get()) return emptyHandle("scene");
    if (get()->moveNode(node.get(), index)) return {};
    return failureOf(
        absence(*this, node),
        String::format("Cannot move node '%s' to place %llu: the scene has %llu nodes.",
                       node.name().buf(), static_cast<unsigned long long>(index),
                       static_cast<unsigned long long>(nodeCount())));
}

Result Scene::subscribe(SceneObserver* observer) const {
    if (!get()) return emptyHandle("scene");
    return impl::subscribed(observer, observer && get()->subscribe(observer), true);
}

Result Scene::unsubscribe(SceneObserver* observer) const {
    if (!get()) return emptyHandle("scene");
    return impl::subscribed(observer, get()->unsubscribe(observer), false);
}

Result Scene::subscribe(BatchObserver* observer) const {
    if (!get()) return emptyHandle("scene");
    return impl::subscribed(observer, observer && get()->subscribe(observer), true);
}

Result Scene::unsubscribe(BatchObserver* observer) const {
    if (!get()) return emptyHandle("scene");
    return impl::subscribed(observer, get()->unsubscribe(observer), false);
}

Result Scene::setUndoEnabled(bool enabled) const {
    if (!get()) return emptyHandle("scene");
    if (get()->setUndoEnabled(enabled)) return {};
    return turnFailure(*this, "switch undo on or off");
}

Result Scene::setUndoLimits(const UndoLimits& limits) const {
    if (!get()) return emptyHandle("scene");
    get()->setUndoLimits(limits);
    return {};
}

Result Scene::undo() const {
    if (!get()) return emptyHandle("scene");
    if (get()->undo()) return {};
    return turnFailure(*this, "undo");
}

Result Scene::redo() const {
    if (!get()) return emptyHandle("scene");
    if (get()->redo()) return {};
    return turnFailure(*this, "redo");
}

Result Scene::setCheckpoint(const String& name) const {
    if (!get()) return emptyHandle("scene");
    get()->setCheckpoint(name);
    return {};
}

Result Scene::returnTo(const String& name) const {
    if (!get()) return emptyHandle("scene");
    const Scene held(*this);
    if (held->returnTo(name)) return {};
    if (held.checkpoints().contains(name, false))
        return turnFailure(held, "return to a checkpoint");
    return Result::failure("There is no checkpoint '" + name + "' within reach.");
}

Result Scene::markSaved() const {
    if (!get()) return emptyHandle("scene");
    get()->markSaved();
    return {};
}

Result Scene::addLibrary(const LibInfo& library) const {
    if (!get()) return emptyHandle("scene");
    if (!library) return emptyHandle("library");
    if (get()->addLibrary(library.get())) return {};
    const auto& known = implOf(get())->libraries();
    const bool isThere =
        std::ranges::any_of(known, [&](const auto& each) { return each.get() == library.get(); });
    return Result::failure(isThere ? "The scene has that library already."
                                   : "The library holds no definitions: expected one that "
                                     "`LibInfo::create` made.");
}

Result Scene::setDirtyStateCached(bool cached) const {
    if (!get()) return emptyHandle("scene");
    get()->setDirtyStateCached(cached);
    return {};
}

Result Scene::setEvalCache(u64 maxBytes, bool isChecked) const {
    if (!get()) return emptyHandle("scene");
    get()->setEvalCache(maxBytes, isChecked);
    return {};
}

} // namespace qv::kelvo_sdk
