#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/conversion_loss.h"
#include "kelvo/sdk/interfaces/eval_cache_figures.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/interfaces/integrity_error.h"
#include "kelvo/sdk/interfaces/undo_step.h"

namespace qv::kelvo_sdk::interfaces {

/// Owns nodes, keeps them in creation order and finds them by name without regard to case.
///
/// Holds one reference to each of its nodes. Returned nodes are borrowed: valid until removed.
class QV_EXPORT IScene : public IRefCounted {
public:
    /// Returns null, without a log entry, when there is no node of that name.
    [[nodiscard]] virtual INode* findNode(String name) = 0;

    /// Tells whether edits are recorded for undo.
    [[nodiscard]] virtual bool undoEnabled() = 0;
    /// Opens an edit step; `recordEdit` closes it and names it.
    virtual void beginEdit() = 0;
    virtual void recordEdit(String doText, String undoText) = 0;
    /// Tells whether an undo or redo is being replayed right now.
    [[nodiscard]] virtual bool undoInProgress() = 0;
    /// Groups the edits up to `endEditGroup` into one change for observers.
    virtual void beginEditGroup() = 0;
    virtual void endEditGroup() = 0;

    /// Creates a node: a copy of the definition of its type in the scene's libraries, or a bare
    /// node when no library knows the type. A name in use gets the next free number. Null, and
    /// logged, when the name is not a simple identifier or the type is abstract.
    virtual INode* createNode(String type, String name) = 0;
    /// Clears every link and connection to the node, notifies its observers and drops the scene's
    /// reference; false when the node is not in this scene.
    virtual bool removeNode(INode* node) = 0;
    /// Renames a node; a name in use gets the next free number. False when the name is not a simple
    /// identifier (logged) or the node is not in this scene.
    virtual bool renameNode(INode* node, String name) = 0;
    /// Moves a node to position `index`; false out of range or when the node is not in this scene.
    virtual bool moveNode(INode* node, u64 index) = 0;
    /// Removes all nodes.
    virtual void clear() = 0;
    [[nodiscard]] virtual u64 nodeCount() const = 0;
    /// Returns a node by position in creation order; null out of range.
    [[nodiscard]] virtual INode* node(u64 index) const = 0;

    /// Adds an observer, which must unsubscribe before its destruction; false if it is subscribed
    /// already.
    virtual bool subscribe(SceneObserver* observer) = 0;
    virtual bool unsubscribe(SceneObserver* observer) = 0;
    /// Adds an observer of whole edits, under the same conditions.
    virtual bool subscribe(BatchObserver* observer) = 0;
    virtual bool unsubscribe(BatchObserver* observer) = 0;

    /// Returns the number of open nested edits.
    [[nodiscard]] virtual u64 editDepth() const = 0;
    /// Closes the edit at `depth`, where 1 is the outermost, and takes back all changes since it
    /// began, even with undo off. Called during a change that was under way before the edit, as
    /// from an observer, it waits for the end of that change.
    virtual void cancelEdit(u64 depth) = 0;

    /// Starts or stops recording for undo; off at first. A switch forgets all steps. False, and
    /// logged, while an edit or a step is under way.
    virtual bool setUndoEnabled(bool enabled) = 0;
    virtual void setUndoLimits(const UndoLimits& limits) = 0;
    /// Undo the last step, or redo the last one undone. Nodes and attributes return as the same
    /// objects, at their old places. False when there is no step and, logged, while an edit or a
    /// step is under way. Exceptions of observers are rethrown at the end, when the step is
    /// complete.
    ///
    /// Edits that observers make meanwhile belong to the step: the next undo or redo takes them
    /// back too.
    virtual bool undo() = 0;
    virtual bool redo() = 0;
    [[nodiscard]] virtual u64 undoCount() const = 0;
    [[nodiscard]] virtual u64 redoCount() const = 0;
    /// Return the description of a step; index 0 is the next one. Empty out of range.
    [[nodiscard]] virtual UndoStep undoStep(u64 index) const = 0;
    [[nodiscard]] virtual UndoStep redoStep(u64 index) const = 0;
    /// Returns the memory of all steps together.
    [[nodiscard]] virtual u64 undoBytes() const = 0;
    /// Names the present state; an earlier state of that name loses it.
    virtual void setCheckpoint(String name) = 0;
    /// Undoes or redoes up to a named state; false when no state of that name is within reach.
    virtual bool returnTo(String name) = 0;
    /// Returns the names of states within reach, oldest first.
    [[nodiscard]] virtual StringVector checkpoints() const = 0;
    /// Marks the present state as saved; a new scene is saved.
    virtual void markSaved() = 0;
    [[nodiscard]] virtual bool isSaved() const = 0;

    /// Makes the scene update the dirty flags of nodes with each change, instead of searching at
    /// each query; off at first. Covers changes in this scene alone: changes of free nodes and of
    /// other scenes go unnoticed.
    virtual void setDirtyStateCached(bool cached) = 0;

    /// Adds the types of a library, after those of earlier libraries; existing nodes do not change.
    /// The scene takes a reference. False for null, for a library that it already has, and for a
    /// library without definitions of its own, such as a bare table of callbacks.
    virtual bool addLibrary(ILibInfo* library) = 0;

    /// Caches up to `maxBytes` of results of eval callbacks, so that a callback runs again only
    /// after a change in what its node depends on through connections and links. 0 turns the cache
    /// off, as at first. Needs callbacks that use nothing but their node and what it reads.
    /// Evaluations with a caller's own pointer bypass the cache.
    ///
    /// `isChecked` calls the callbacks regardless, twice for an unknown result, and logs each
    /// result that changed although nothing that it depends on did.
    virtual void setEvalCache(u64 maxBytes, bool isChecked) = 0;
    [[nodiscard]] virtual EvalCacheFigures evalCacheFigures() const = 0;

    /// Replaces a node by a node of another type: a copy of that type's definition, or a bare node
    /// when none of the scene's libraries knows the type. Keeps the name, the place in the scene,
    /// all links and connections to the node, and the values and connections of inputs of the same
    /// name, as far as they convert. Also keeps attributes beyond the definition of the old type,
    /// and all attributes if the new type is unknown. Notifies the node's observers, which stay
    /// with the old node, of its replacement.
    ///
    /// Returns the replacement. Null, with nothing changed, when the node is not in this scene, or
    /// the type is abstract or not a simple identifier (both logged). Each loss is appended to
    /// `losses`, or logged when that is null.
    virtual INode* convertNoting(INode* node, String type, ConversionLosses* losses) = 0;

    /// Checks the whole scene, in linear time, for broken invariants. Empty when all hold; anything
    /// else is a fault of the program:
    /// - a node is not found by its name, belongs to another scene, or is listed twice;
    /// - an input or output does not belong to the node, array or object that lists it, an element
    ///   has a wrong index, or an index by name finds the wrong attribute;
    /// - the two ends of a connection do not agree;
    /// - a link leads to another scene, or the linked node's list of links lacks it or has a wrong
    ///   entry.
    ///
    /// A link or connection to a free node, such as a node that is still to be added, is no fault:
    /// it ends with the node.
    [[nodiscard]] virtual IntegrityErrors verify() const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
