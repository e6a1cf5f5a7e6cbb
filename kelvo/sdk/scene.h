#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/interfaces/batch_observer.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/interfaces/scene_observer.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene_listener.h"

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
    /// False, with the first error, when the scene stayed as it was: the text has errors, or no
    /// node that can be read.
    Result isRead = Result::failure("Nothing was read.");
    /// All that is not as the text has it, told or not; 0 when everything was read.
    u64 gapCount = 0;

    [[nodiscard]] bool isWhole() const noexcept { return isRead && gapCount == 0; }
};

/// Handle on a scene; keeps it alive. Every operation is safe on an empty handle, as one that was
/// made by its default constructor and not by `create`: questions answer empty, false or 0, and
/// what would change something fails with a message.
class QV_EXPORT Scene : public RefersTo<interfaces::IScene> {
public:
    using RefersTo::RefersTo;
    class UndoScope;

    /// Returns a new, empty scene.
    [[nodiscard]] static Scene create();

    /// Creates a node: a copy of its type's definition in the scene's libraries, a bare one when
    /// none knows the type. A taken name gets the next free number. Fails, and logs, when the name
    /// is no simple identifier or the type is abstract.
    Made<Node> createNode(String type, String name) const;
    [[nodiscard]] Node findNode(String name) const;
    [[nodiscard]] Node operator[](String name) const { return findNode(std::move(name)); }
    /// Clears every link and connection to the node and lets it go.
    Result removeNode(const Node& node) const;
    /// A taken name gets the next free number.
    Result renameNode(const Node& node, const String& name) const;
    /// Moves a node so that it becomes the index-th.
    Result moveNode(const Node& node, u64 index) const;
    [[nodiscard]] u64 nodeCount() const { return get() ? get()->nodeCount() : 0; }
    /// Returns a node by position in creation order; empty out of range.
    [[nodiscard]] Node node(u64 index) const { return get() ? Node(get()->node(index)) : Node(); }

    /// Add an observer, which must unsubscribe before it dies; fail when it is there already. A
    /// `SceneListener` is given handles, a `SceneObserver` the interfaces, a `BatchObserver` each
    /// edit as a whole.
    Result subscribe(SceneListener* listener) const;
    Result unsubscribe(SceneListener* listener) const;
    Result subscribe(SceneObserver* observer) const;
    Result unsubscribe(SceneObserver* observer) const;
    Result subscribe(BatchObserver* observer) const;
    Result unsubscribe(BatchObserver* observer) const;

    // Undo and redo: see `IScene`, and `UndoScope` below.

    Result setUndoEnabled(bool enabled) const;
    [[nodiscard]] bool undoEnabled() const { return get() && get()->undoEnabled(); }
    Result setUndoLimits(const UndoLimits& limits) const;
    Result undo() const;
    Result redo() const;
    [[nodiscard]] u64 undoCount() const { return get() ? get()->undoCount() : 0; }
    [[nodiscard]] u64 redoCount() const { return get() ? get()->redoCount() : 0; }
    [[nodiscard]] UndoStep undoStep(u64 index) const {
        return get() ? get()->undoStep(index) : UndoStep();
    }
    [[nodiscard]] UndoStep redoStep(u64 index) const {
        return get() ? get()->redoStep(index) : UndoStep();
    }
    [[nodiscard]] u64 undoBytes() const { return get() ? get()->undoBytes() : 0; }
    Result setCheckpoint(const String& name) const;
    Result returnTo(const String& name) const;
    [[nodiscard]] StringVector checkpoints() const {
        return get() ? get()->checkpoints() : StringVector();
    }
    Result markSaved() const;
    [[nodiscard]] bool isSaved() const { return !get() || get()->isSaved(); }

    /// Lets the scene know the types of a library, behind those of the libraries it has; fails when
    /// it has it already, or when that is no library of definitions.
    Result addLibrary(const LibInfo& library) const;

    /// Returns how many libraries the scene has.
    [[nodiscard]] u64 libraryCount() const;
    /// Returns a library by position, in the order in which types are looked up; empty out of
    /// range.
    [[nodiscard]] LibInfo library(u64 index) const;

    /// Lets the scene keep each node's dirty flag true to what the node depends on, as changes come
    /// in: for many queries on deep graphs.
    Result setDirtyStateCached(bool cached) const;

    /// Keeps up to `maxBytes` of what eval callbacks give, for as long as nothing changes that
    /// their nodes depend on; 0 keeps nothing. `isChecked` finds callbacks that this does not suit.
    Result setEvalCache(u64 maxBytes, bool isChecked = false) const;
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
    /// text's references follow. On any error it fails with the first one: the scene stays as it
    /// was and `diagnostics`, when given, tells all that was found (at most 20). `source` names the
    /// text in them.
    Result read(String text, String source, Diagnostics* diagnostics = nullptr) const;
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
    /// Ends the step and takes back what was done since it began; the scope is then done with, and
    /// cannot be cancelled again.
    Result cancel() const;

private:
    friend class impl::NodeChangeScope;
    // A step that an exception does not take back.
    explicit UndoScope(Scene scene);
};

} // namespace qv::kelvo_sdk
