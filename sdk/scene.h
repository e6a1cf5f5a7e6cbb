#pragma once

#include "sdk/diagnostic.h"
#include "sdk/interfaces/i_scene.h"
#include "sdk/interfaces/scene_observer.h"
#include "sdk/lib_info.h"
#include "sdk/node.h"

namespace qv::kelvo_sdk {

using interfaces::SceneFault;
using interfaces::SceneFaults;
using interfaces::SceneObserver;

/// Handle on a scene; keeps it alive. Every operation is safe on an empty handle, which answers
/// empty, false or 0.
class QV_EXPORT Scene : public RefersTo<interfaces::IScene> {
public:
    using RefersTo::RefersTo;
    class UndoScope;

    /// Returns a new, empty scene.
    [[nodiscard]] static Scene create();

    /// Creates a node: a copy of its type's definition in the scene's libraries, a bare one when
    /// none knows the type. A taken name gets the next free number. Empty, and logged, when the
    /// name is no simple identifier or the type is abstract.
    Node createNode(String type, String name) const;
    [[nodiscard]] Node findNode(String name) const;
    [[nodiscard]] Node operator[](String name) const { return findNode(std::move(name)); }
    bool removeNode(const Node& node) const { return get() && get()->removeNode(node.get()); }
    bool renameNode(const Node& node, String name) const {
        return get() && get()->renameNode(node.get(), std::move(name));
    }
    [[nodiscard]] u64 nodeCount() const { return get() ? get()->nodeCount() : 0; }
    /// Returns a node by position in creation order; empty out of range.
    [[nodiscard]] Node node(u64 index) const { return get() ? Node(get()->node(index)) : Node(); }

    bool subscribe(SceneObserver* observer) const { return get() && get()->subscribe(observer); }
    bool unsubscribe(SceneObserver* observer) const {
        return get() && get()->unsubscribe(observer);
    }

    /// Lets the scene know the types of a library, behind those of the libraries it has; false when
    /// it has it already, or when that is no library of definitions.
    bool addLibrary(const LibInfo& library) const {
        return get() && get()->addLibrary(library.get());
    }

    /// Lets the scene keep each node's dirty flag true to what the node depends on, as changes come
    /// in: for many queries on deep graphs.
    void setDirtyStateCached(bool cached) const {
        if (get()) get()->setDirtyStateCached(cached);
    }

    /// Keeps up to `maxBytes` of what eval callbacks give, for as long as nothing changes that
    /// their nodes depend on; 0 keeps nothing. `isChecked` finds callbacks that this does not suit.
    void setEvalCache(u64 maxBytes, bool isChecked = false) const {
        if (get()) get()->setEvalCache(maxBytes, isChecked);
    }
    [[nodiscard]] interfaces::EvalCacheFigures evalCacheFigures() const {
        return get() ? get()->evalCacheFigures() : interfaces::EvalCacheFigures();
    }

    /// Looks through the whole scene, in linear time, for laws that do not hold: both ends of each
    /// connection agree, links lead to nodes of the scene, names are unique, counts and indexes
    /// are right. Empty when all is well; anything else is a fault of the program.
    [[nodiscard]] SceneFaults verify() const { return get() ? get()->verify() : SceneFaults(); }

    /// Returns the scene as text that `read` takes back.
    [[nodiscard]] String text() const;
    /// Adds what a scene text describes. Names that the scene has already get a number, and the
    /// text's references follow. On any error false: the scene stays as it was and `diagnostics`,
    /// when given, tells all that was found (at most 20). `source` names the text in them.
    bool read(String text, String source, Diagnostics* diagnostics = nullptr) const;
};

/// An undo step of a scene: stays open while any copy lives, closes when the last goes.
class QV_EXPORT Scene::UndoScope : public RefersTo<RefCounted> {
public:
    UndoScope(Scene scene, String doText, String undoText);
};

} // namespace qv::kelvo_sdk
