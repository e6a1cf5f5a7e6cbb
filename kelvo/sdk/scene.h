#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/interfaces/batch_observer.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/interfaces/scene_observer.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

namespace impl {
class NodeChangeScope;
}
class Matches;
struct Query;

using interfaces::BatchObserver;
using interfaces::IntegrityError;
using interfaces::IntegrityErrors;
using interfaces::SceneChanges;
using interfaces::SceneObserver;
using interfaces::UndoLimits;
using interfaces::UndoStep;

/// Former names of IntegrityError and IntegrityErrors, for programs that use them still.
using SceneFault = IntegrityError;
using SceneFaults = IntegrityErrors;

/// How much of a text is read.
struct ReadOptions {
    /// Of a text with errors, builds what can be read. Lines that cannot be read, whole nodes where
    /// it is their head, and names of nodes and outputs that are not known are gaps: each is told,
    /// and all are kept and written back where they stood. A '}' that is missing is added. Without
    /// it a text with errors is not read at all.
    bool isPartial = false;
    /// So many errors or gaps are told at most.
    u32 maxDiagnostics = 20;
};

/// The outcome of reading a text.
struct ReadReport {
    /// False when the scene stayed as it was: the text has errors, or no node that can be read.
    bool isRead = false;
    /// All that is not as the text has it, told or not; 0 when everything was read.
    u64 gapCount = 0;

    [[nodiscard]] bool isWhole() const noexcept { return isRead && gapCount == 0; }
};

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
    /// Moves a node so that it becomes the index-th.
    bool moveNode(const Node& node, u64 index) const {
        return get() && get()->moveNode(node.get(), index);
    }
    [[nodiscard]] u64 nodeCount() const { return get() ? get()->nodeCount() : 0; }
    /// Returns a node by position in creation order; empty out of range.
    [[nodiscard]] Node node(u64 index) const { return get() ? Node(get()->node(index)) : Node(); }

    bool subscribe(SceneObserver* observer) const { return get() && get()->subscribe(observer); }
    bool unsubscribe(SceneObserver* observer) const {
        return get() && get()->unsubscribe(observer);
    }
    bool subscribe(BatchObserver* observer) const { return get() && get()->subscribe(observer); }
    bool unsubscribe(BatchObserver* observer) const {
        return get() && get()->unsubscribe(observer);
    }

    // Undo and redo: see `IScene`, and `UndoScope` below.

    bool setUndoEnabled(bool enabled) const { return get() && get()->setUndoEnabled(enabled); }
    [[nodiscard]] bool undoEnabled() const { return get() && get()->undoEnabled(); }
    void setUndoLimits(const UndoLimits& limits) const {
        if (get()) get()->setUndoLimits(limits);
    }
    bool undo() const { return get() && get()->undo(); }
    bool redo() const { return get() && get()->redo(); }
    [[nodiscard]] u64 undoCount() const { return get() ? get()->undoCount() : 0; }
    [[nodiscard]] u64 redoCount() const { return get() ? get()->redoCount() : 0; }
    [[nodiscard]] UndoStep undoStep(u64 index) const {
        return get() ? get()->undoStep(index) : UndoStep();
    }
    [[nodiscard]] UndoStep redoStep(u64 index) const {
        return get() ? get()->redoStep(index) : UndoStep();
    }
    [[nodiscard]] u64 undoBytes() const { return get() ? get()->undoBytes() : 0; }
    void setCheckpoint(String name) const {
        if (get()) get()->setCheckpoint(std::move(name));
    }
    bool returnTo(String name) const { return get() && get()->returnTo(std::move(name)); }
    [[nodiscard]] StringVector checkpoints() const {
        return get() ? get()->checkpoints() : StringVector();
    }
    void markSaved() const {
        if (get()) get()->markSaved();
    }
    [[nodiscard]] bool isSaved() const { return !get() || get()->isSaved(); }

    /// Lets the scene know the types of a library, behind those of the libraries it has; false when
    /// it has it already, or when that is no library of definitions.
    bool addLibrary(const LibInfo& library) const {
        return get() && get()->addLibrary(library.get());
    }

    /// Returns how many libraries the scene has.
    [[nodiscard]] u64 libraryCount() const;
    /// Returns a library by position, in the order in which types are looked up; empty out of
    /// range.
    [[nodiscard]] LibInfo library(u64 index) const;

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
    [[nodiscard]] IntegrityErrors verify() const {
        return get() ? get()->verify() : IntegrityErrors();
    }

    /// Returns the scene as text that `read` takes back.
    [[nodiscard]] String text() const;
    /// Adds what a scene text describes. Names that the scene has already get a number, and the
    /// text's references follow. On any error false: the scene stays as it was and `diagnostics`,
    /// when given, tells all that was found (at most 20). `source` names the text in them.
    bool read(String text, String source, Diagnostics* diagnostics = nullptr) const;
    /// The same with a choice. A node takes the lines that could not be read inside of it along
    /// when it is renamed, converted, removed and brought back; those between nodes stay.
    ReadReport read(String text, String source, const ReadOptions& options,
                    Diagnostics* diagnostics = nullptr) const;

    /// Returns all nodes, in creation order.
    [[nodiscard]] ds::Vector<Node> nodes() const;
    /// Looks for nodes and inputs by path, type and value. Needs kelvo/sdk/search.h.
    [[nodiscard]] Matches find(const Query& query) const;
    /// The same by path alone, as "lamp*.radius".
    [[nodiscard]] Matches find(String pattern) const;
};

/// An undo step of a scene: stays open while any copy lives, closes when the last goes.
class QV_EXPORT Scene::UndoScope : public RefersTo<RefCounted> {
public:
    UndoScope(Scene scene, String doText, String undoText);
    /// Ends the step and takes back what was done since it began; the scope is then done with.
    void cancel() const;

private:
    friend class impl::NodeChangeScope;
    // A step that an exception does not take back.
    explicit UndoScope(Scene scene);
};

} // namespace qv::kelvo_sdk
