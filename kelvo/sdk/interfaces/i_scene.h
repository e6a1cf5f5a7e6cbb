#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/conversion_loss.h"
#include "kelvo/sdk/interfaces/eval_cache_figures.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/interfaces/integrity_error.h"
#include "kelvo/sdk/interfaces/undo_step.h"

namespace qv::kelvo_sdk::interfaces {

/// Owner of nodes, in creation order, found by name without regard to case.
///
/// Holds one reference on each of its nodes. Returned nodes are borrowed: valid until removed.
class QV_EXPORT IScene : public IRefCounted {
public:
    /// Returns null, silently, when there is no node of that name.
    [[nodiscard]] virtual INode* findNode(String name) = 0;

    /// Tells whether edits are recorded for undo.
    [[nodiscard]] virtual bool undoEnabled() = 0;
    /// Opens an edit step; `recordEdit` closes it and names it.
    virtual void beginEdit() = 0;
    virtual void recordEdit(String doText, String undoText) = 0;
    /// Tells whether an undo or redo is being replayed right now.
    [[nodiscard]] virtual bool undoInProgress() = 0;
    /// Lets what follows, up to `endEditGroup`, reach observers as one change.
    virtual void beginEditGroup() = 0;
    virtual void endEditGroup() = 0;

    /// Creates a node: a copy of its type's definition in the scene's libraries, a bare one when
    /// none knows the type. A taken name gets the next free number. Null, and logged, when the name
    /// is no simple identifier or the type is abstract.
    virtual INode* createNode(String type, String name) = 0;
    /// Clears every link and connection to the node, tells its observers and lets it go; false
    /// when it is not of this scene.
    virtual bool removeNode(INode* node) = 0;
    /// Renames; a taken name gets the next free number. False when the name is no simple identifier
    /// (logged) or the node is not of this scene.
    virtual bool renameNode(INode* node, String name) = 0;
    /// Moves a node so that it becomes the index-th; false out of range or when it is not of this
    /// scene.
    virtual bool moveNode(INode* node, u64 index) = 0;
    /// Removes all nodes.
    virtual void clear() = 0;
    [[nodiscard]] virtual u64 nodeCount() const = 0;
    /// Returns a node by position in creation order; null out of range.
    [[nodiscard]] virtual INode* node(u64 index) const = 0;

    /// Adds an observer, which must unsubscribe before it dies; false if it was there already.
    virtual bool subscribe(SceneObserver* observer) = 0;
    virtual bool unsubscribe(SceneObserver* observer) = 0;
    /// The same for one that hears of each edit as a whole.
    virtual bool subscribe(BatchObserver* observer) = 0;
    virtual bool unsubscribe(BatchObserver* observer) = 0;

    /// Returns how many edits are open inside each other.
    [[nodiscard]] virtual u64 editDepth() const = 0;
    /// Closes the edit that is the depth-th from outside, counted from 1, and takes back what was
    /// done since it began; with undo off, too. From inside a change that was under way before, as
    /// from an observer, this waits for that change's end.
    virtual void cancelEdit(u64 depth) = 0;

    /// Starts or stops recording what is done, for undo; off at the start. Either forgets all
    /// steps. False, and logged, while an edit or a step is under way.
    virtual bool setUndoEnabled(bool enabled) = 0;
    virtual void setUndoLimits(const UndoLimits& limits) = 0;
    /// Take the last step back, and do it again. Nodes and attributes come back as the same
    /// objects, at their old places. False when there is none and, logged, while an edit or a step
    /// is under way. What observers throw comes out at the end, when the step is whole.
    ///
    /// Edits that observers make meanwhile belong to the step: turning it again takes them back
    /// too.
    virtual bool undo() = 0;
    virtual bool redo() = 0;
    [[nodiscard]] virtual u64 undoCount() const = 0;
    [[nodiscard]] virtual u64 redoCount() const = 0;
    /// Return what is known of a step; 0 is the one that is next. Empty out of range.
    [[nodiscard]] virtual UndoStep undoStep(u64 index) const = 0;
    [[nodiscard]] virtual UndoStep redoStep(u64 index) const = 0;
    /// Returns the memory that all steps take.
    [[nodiscard]] virtual u64 undoBytes() const = 0;
    /// Gives the present state a name, in place of an earlier state of that name.
    virtual void setCheckpoint(String name) = 0;
    /// Undoes or redoes up to a named state; false when there is none of that name within reach.
    virtual bool returnTo(String name) = 0;
    /// Returns the names of states within reach, oldest first.
    [[nodiscard]] virtual StringVector checkpoints() const = 0;
    /// The present state is the saved one; a new scene is saved.
    virtual void markSaved() = 0;
    [[nodiscard]] virtual bool isSaved() const = 0;

    /// Lets the scene keep each node's dirty flag true to what the node depends on, as changes come
    /// in, instead of searching at each query; off at the start. Counts what nodes of this scene
    /// do: changes of free nodes and of other scenes go unnoticed.
    virtual void setDirtyStateCached(bool cached) = 0;

    /// Lets the scene know the types of a library, behind those of the libraries it has; nodes that
    /// are there already stay as they are. The scene takes a reference. False for null, for a
    /// library that it has, and for one without definitions of its own, such as a bare table of
    /// callbacks.
    virtual bool addLibrary(ILibInfo* library) = 0;

    /// Keeps up to `maxBytes` of what eval callbacks give, so that they are asked again only after
    /// something changed that their nodes depend on through connections and links; 0, as at the
    /// start: nothing is kept. Needs callbacks that go by their node and what it reads alone.
    /// Evaluations with a caller's own pointer ask the callbacks always.
    ///
    /// `isChecked` asks them all the same, twice for what is not known, and logs each result that
    /// changed although nothing did that it depends on.
    virtual void setEvalCache(u64 maxBytes, bool isChecked) = 0;
    [[nodiscard]] virtual EvalCacheFigures evalCacheFigures() const = 0;

    /// Replaces a node by one of another type: a copy of that type's definition, a bare node when
    /// none of the scene's libraries knows it. Name, place in the scene, all that links and
    /// connects to the node and the values and connections of inputs of the same name stay, as far
    /// as they convert; so does what the node has beyond the definition of its old type, and
    /// everything if the new type is unknown. Tells the node's observers, which stay with the old
    /// node, what replaces it.
    ///
    /// Returns the replacement. Null, with nothing changed, when the node is not of this scene, the
    /// type is no simple identifier or abstract (both logged). What does not fit is appended to
    /// `losses`, and logged where that is null.
    virtual INode* convertNoting(INode* node, String type, ConversionLosses* losses) = 0;

    /// Looks through the whole scene, in linear time, for laws that do not hold. Empty when all is
    /// well; anything else is a fault of the program:
    /// - a node is not found by its name, belongs to another scene, or stands there twice;
    /// - an input or output does not belong to the node, array or object that lists it, an element
    ///   miscounts itself, or an index by name leads astray;
    /// - the ends of a connection do not agree;
    /// - a link leads to another scene, or the list of those that link to its node lacks it, or has
    ///   it wrongly.
    ///
    /// A link or connection to a node that is in no scene, as one that is still to come in, is no
    /// fault: it ends with the node.
    [[nodiscard]] virtual IntegrityErrors verify() const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
