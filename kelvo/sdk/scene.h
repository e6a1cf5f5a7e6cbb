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
class Snapshot;
struct Query;
struct SnapshotOptions;

using interfaces::BatchObserver;
using interfaces::IntegrityError;
using interfaces::IntegrityErrors;
using interfaces::SceneChanges;
using interfaces::SceneObserver;
using interfaces::UndoLimits;
using interfaces::UndoStep;

/// Former names of IntegrityError and IntegrityErrors, for programs that still use them.
using SceneFault = IntegrityError;
using SceneFaults = IntegrityErrors;

/// Says how to read a text.
struct ReadOptions {
    /// Reads the readable parts of a text with errors; otherwise such a text is not read at all.
    /// Gaps are lines that cannot be read, whole nodes whose first line cannot be read, and unknown
    /// names of nodes and outputs: each is reported, and all are kept and written back at their
    /// places. A missing '}' is added.
    bool isPartial = false;
    /// The greatest number of diagnostics.
    u32 maxDiagnostics = 20;
    /// The greatest number of threads that read; 0 for as many as the machine runs at once. Scene,
    /// diagnostics, notifications and their order are the same for any number.
    u32 threads = 0;
};

/// Says how to write a text.
struct WriteOptions {
    /// The greatest number of threads that write; 0 for as many as the machine runs at once. The
    /// text is the same for any number.
    u32 threads = 0;
};

/// The outcome of reading a text.
struct ReadReport {
    /// False, with the first error, when the text has errors or, with `isPartial`, no readable
    /// node; the scene is unchanged then.
    Result isRead = Result::failure("Nothing was read.");
    /// The number of all gaps and added braces, reported or not; 0 when everything was read.
    u64 gapCount = 0;

    [[nodiscard]] bool isWhole() const noexcept { return isRead && gapCount == 0; }
};

/// Handle on a scene; keeps it alive. The default constructor makes an empty handle; `create` makes
/// a scene. Every operation is safe on an empty handle: questions answer empty, false or 0, and
/// operations that return a `Result` or `Made` fail with a message.
class QV_EXPORT Scene : public RefersTo<interfaces::IScene> {
public:
    using RefersTo::RefersTo;
    class UndoScope;

    /// Returns a new, empty scene.
    [[nodiscard]] static Scene create();

    /// Creates a node: a copy of the prototype of its type in the scene's libraries, or a bare node
    /// when no library knows the type. A name in use gets the next free number. Fails, and logs,
    /// when the name is no simple identifier or the type is abstract.
    Made<Node> createNode(String type, String name) const;
    [[nodiscard]] Node findNode(const NameView& name) const;
    [[nodiscard]] Node operator[](const NameView& name) const { return findNode(name); }
    // 0 would be a null name; `node(0)` is by position.
    Node operator[](int) const = delete;
    /// Clears every link and connection to the node and drops the scene's reference.
    Result removeNode(const Node& node) const;
    /// Renames a node; a name in use gets the next free number.
    Result renameNode(const Node& node, const String& name) const;
    /// Moves a node to position `index`.
    Result moveNode(const Node& node, u64 index) const;
    [[nodiscard]] u64 nodeCount() const { return get() ? get()->nodeCount() : 0; }
    /// Returns a node by position in creation order; empty out of range.
    [[nodiscard]] Node node(u64 index) const { return get() ? Node(get()->node(index)) : Node(); }

    /// Add an observer, which must unsubscribe before its destruction; fail if it is subscribed
    /// already. A `SceneListener` is given handles, a `SceneObserver` interfaces, a `BatchObserver`
    /// the net changes of each edit.
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

    /// Adds the types of a library, after those of earlier libraries. Fails for a library that the
    /// scene already has, and for a library without definitions of its own.
    Result addLibrary(const LibInfo& library) const;

    /// Returns the number of libraries.
    [[nodiscard]] u64 libraryCount() const;
    /// Returns a library by position, in the order in which types are looked up; empty out of
    /// range.
    [[nodiscard]] LibInfo library(u64 index) const;

    /// Makes the scene update the dirty flags of nodes with each change, instead of searching their
    /// dependencies at each query: for many queries on deep graphs.
    Result setDirtyStateCached(bool cached) const;

    /// Caches up to `maxBytes` of results of eval callbacks until something that their nodes depend
    /// on changes; 0 turns the cache off. `isChecked` finds callbacks whose results must not be
    /// cached; see `IScene`.
    Result setEvalCache(u64 maxBytes, bool isChecked = false) const;
    [[nodiscard]] interfaces::EvalCacheFigures evalCacheFigures() const {
        return get() ? get()->evalCacheFigures() : interfaces::EvalCacheFigures();
    }

    /// Checks the laws of the whole scene in linear time: both ends of each connection agree, links
    /// lead to nodes of the scene, names are unique, counts and indexes are right. Empty when all
    /// laws hold; anything else is a fault of the program.
    [[nodiscard]] IntegrityErrors verify() const {
        return get() ? get()->verify() : IntegrityErrors();
    }

    /// Returns the scene as text for `read`.
    [[nodiscard]] String text() const;
    [[nodiscard]] String text(const WriteOptions& options) const;
    /// Adds the nodes of a scene text. A name that the scene already has gets a number, and the
    /// references in the text are adjusted. If the text has errors, fails with the first one and
    /// leaves the scene unchanged; `diagnostics`, when given, gets all errors (at most 20).
    /// `source` names the text in diagnostics.
    Result read(String text, String source, Diagnostics* diagnostics = nullptr) const;
    /// Adds all nodes of a snapshot, complete even without its libraries, or none; as its text.
    Result read(const Snapshot& snapshot) const;
    /// Reads a text with options. Gaps inside a node belong to that node when it is renamed,
    /// converted, removed or restored; gaps between nodes stay where they are.
    ReadReport read(String text, String source, const ReadOptions& options,
                    Diagnostics* diagnostics = nullptr) const;

    /// Returns a constant picture of the whole scene, for other threads or for a later comparison;
    /// see `Snapshot`. The first one takes time in proportion to the scene, each further one in
    /// proportion to the changes since. Counts as reading the scene: call while nobody edits, or
    /// on the thread that edits. Needs kelvo/sdk/snapshot.h.
    [[nodiscard]] Snapshot snapshot(const SnapshotOptions& options) const;
    [[nodiscard]] Snapshot snapshot() const;

    /// Returns all nodes, in creation order.
    [[nodiscard]] ds::Vector<Node> nodes() const;
    /// Finds nodes and inputs by path, type and value. Needs kelvo/sdk/search.h.
    [[nodiscard]] Matches find(const Query& query) const;
    /// Finds nodes and inputs by path only, for example with "lamp*.radius".
    [[nodiscard]] Matches find(String pattern) const;
};

/// Joins the edits during its lifetime into one undo step, which ends with the last copy of the
/// scope. An exception that leaves the scope undoes them.
class QV_EXPORT Scene::UndoScope : public RefersTo<RefCounted> {
public:
    UndoScope(Scene scene, String doText, String undoText);
    /// Ends the step and undoes the edits since it began. The scope has no further effect and
    /// cannot be cancelled again.
    Result cancel() const;

private:
    friend class impl::NodeChangeScope;
    // Makes a step that an exception does not undo.
    explicit UndoScope(Scene scene);
};

} // namespace qv::kelvo_sdk
