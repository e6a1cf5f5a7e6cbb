// ---- Node paths ------------------------------------------------------------------------
// Each call makes a new search. Targets given by name need a node that belongs to a scene.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

RefersTo<NodePath> Node::firstPathTo(const Node& target, bool allLinks) const {
    NodePath* path = get() ? get()->firstPathTo(target.get(), allLinks) : nullptr;
    return RefersTo<NodePath>::adopt(path);
}

namespace {

// Returns null for an empty handle.
impl::PathIterator* implOf(RefCounted* paths) {
    return static_cast<impl::PathIterator*>(paths);
}

} // namespace

NodePaths Node::pathsTo(const Node& target, bool allLinks) const {
    return get() ? NodePaths(adoptRef, get()->pathsTo(target.get(), allLinks)) : NodePaths();
}

NodePaths Node::paths(StringVector types, bool allLinks) const {
    return get() ? NodePaths(adoptRef, get()->paths(std::move(types), allLinks)) : NodePaths();
}

RefersTo<NodePath> NodePaths::current() const {
    return RefersTo<NodePath>(get() ? implOf(get())->current() : nullptr);
}

bool NodePaths::next() const {
    return get() && implOf(get())->next();
}

u64 NodePaths::count() const {
    return get() ? implOf(get())->count() : 0;
}

bool NodePaths::isCountExact() const {
    return !get() || implOf(get())->isCountExact();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

PathIterator* Node::paths(String type, bool flag) const {
    return paths(type.isEmpty() ? StringVector() : StringVector{type}, flag);
}

PathIterator* Node::paths(StringVector types, bool flag) const {
    return new PathIterator(const_cast<Node*>(this), std::move(types), flag, false);
}

PathIterator* Node::pathsTo(INode* target, bool flag) const {
    return target ? new PathIterator(const_cast<Node*>(this), target, flag, false) : nullptr;
}

PathIterator* Node::pathsTo(String name, bool flag) const {
    return pathsTo(m_scene->findNode(std::move(name)), flag);
}

NodePath* Node::firstPathTo(INode* target, bool flag) const {
    if (!target) return nullptr;
    const auto search = RefersTo<PathIterator>::adopt(
        new PathIterator(const_cast<Node*>(this), target, flag, true));
    NodePath* path = search->count() != 0 ? search->current() : nullptr;
    if (path) path->incRef();
    return path;
}

NodePath* Node::firstPathTo(String name, bool flag) const {
    return firstPathTo(m_scene->findNode(std::move(name)), flag);
}

} // namespace qv::kelvo_sdk::impl
