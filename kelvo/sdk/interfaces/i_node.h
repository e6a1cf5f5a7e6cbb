#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/interfaces/i_input_container.h"

namespace qv::kelvo_sdk::interfaces {

/// A named, typed node of a scene.
///
/// The order of these operations never changes, as compiled node libraries depend on it. A node is
/// created with one reference, owned by its creator, and destroyed with the last reference. It
/// holds no reference to its scene, its observers or the nodes that it links to. While one thread
/// edits a scene, no other uses it; `subscribe`, `unsubscribe` and the reference count may be used
/// from any thread (docs/threads.md). Pointers returned are borrowed unless an operation says
/// otherwise.
class QV_EXPORT INode : public IInputContainer, public IRefCounted {
public:
    ~INode() override = default;

    /// Adds an observer, which must unsubscribe before its destruction; false if it is subscribed
    /// already.
    virtual bool subscribe(NodeObserver* observer) = 0;
    virtual bool unsubscribe(NodeObserver* observer) = 0;
    /// Returns whether there were any observers.
    virtual bool unsubscribeAll() = 0;

    /// Returns the object input "_meta", created on first request.
    virtual IInput* meta() const = 0;
    /// Returns null for a node without a scene.
    [[nodiscard]] virtual IScene* scene() const = 0;
    /// Hashes name and inputs. `skip` lists types whose nodes contribute nothing; the key
    /// "__node_name__" in it replaces names by types. Same in every run and on every machine; 0 for
    /// a skipped node.
    [[nodiscard]] virtual u64 hash(StringVector skip) const = 0;
    /// Tells whether the node changed since it was marked clean; `deep` includes its dependencies.
    [[nodiscard]] virtual bool dirty(bool deep) const = 0;
    virtual void setDirty(bool dirty) = 0;

    [[nodiscard]] virtual String type() const = 0;
    [[nodiscard]] virtual StringVector bases() const = 0;
    /// Replaces the node by a node of another type; null without a scene, or when that fails.
    virtual INode* convertTo(String type) = 0;
    [[nodiscard]] virtual bool isAbstract() const = 0;
    [[nodiscard]] virtual bool isInternal() const = 0;
    [[nodiscard]] virtual bool isTypeOf(String type) const = 0;
    [[nodiscard]] virtual bool isTypeOf(StringVector types) const = 0;
    /// Returns "type" or "type [base, base]".
    [[nodiscard]] virtual String typeDesc() const = 0;

    [[nodiscard]] virtual String name() const = 0;
    /// Returns the label in a language ("auto": the current one), else the display name, in title
    /// case.
    [[nodiscard]] virtual String label(String language) const = 0;
    /// Returns the help text in a language, empty when the definition has none.
    [[nodiscard]] virtual String help(String language) const = 0;
    [[nodiscard]] virtual ILayout* layout() const = 0;
    /// Takes a reference to the new layout and drops the one to the old; null clears.
    virtual void setLayout(ILayout* layout) = 0;
    /// Returns the input "name" unless empty, else the file name of a path node, else the name.
    [[nodiscard]] virtual String displayName() const = 0;
    /// Writes the input "name"; false when the node has no such input.
    virtual bool setDisplayName(String name) = 0;

    /// Finds an input at any depth by full path, ignoring case; null, without a log entry, if none.
    [[nodiscard]] virtual IInput* findInput(String path) const = 0;
    /// Finds an output by exact path; null, without a log entry, if none.
    [[nodiscard]] virtual IOutput* findOutput(String path) const = 0;
    /// Walks a path step by step and grows arrays on the way; null, without a log entry, if a step
    /// fails.
    virtual IInput* parseInputPath(String path) = 0;

    [[nodiscard]] virtual bool hasOutput(u64 index, AttrType type) const = 0;
    [[nodiscard]] virtual bool hasOutput(String name, AttrType type) const = 0;
    [[nodiscard]] virtual u64 outputCount() const = 0;
    /// Returns null, and logs, when `index` is out of range.
    virtual IOutput* output(u64 index) = 0;
    virtual IOutput* output(u64 index) const = 0;
    /// Returns null, and logs, when there is no output of that name.
    virtual IOutput* output(String name) = 0;
    virtual IOutput* output(String name) const = 0;
    /// Returns the output of that name and kind, created if missing. Node, Buffer, Array and Object
    /// are refused (logged, null).
    virtual IOutput* createOutput(String name, AttrType type) = 0;
    virtual bool removeOutput(String name) = 0;
    virtual bool removeOutput(u64 index) = 0;
    virtual bool removeLastOutput() = 0;
    virtual bool clearOutputs() = 0;

    /// Tells whether the node has String inputs "dir", "file" and "ext".
    [[nodiscard]] virtual bool isPath() const = 0;
    /// Returns the path made of the three inputs, empty (and logged) for other nodes.
    [[nodiscard]] virtual String asPath() const = 0;
    virtual bool setPath(String dir, String file, String ext) = 0;
    virtual bool setPath(String path) = 0;

    /// Returns the nodes below an "xform", parents first; `depth` 0 gives direct children, N goes N
    /// levels below them, negative goes all the way. The caller owns the iterator. The walk ends
    /// even with cycles, but with a limit its work grows with the limit. Gives an empty "children"
    /// to each "xform" below that lacks it, and logs that.
    virtual impl::NodeIterator* children(i64 depth) const = 0;
    /// Returns the position in the parent's "children"; -1 when not linked there, -2 when its
    /// elements are no nodes, -3 when it is not an array, -4 when the parent has no such input, -5
    /// for a null parent.
    [[nodiscard]] virtual i64 indexIn(INode* parent) const = 0;
    virtual bool parentTo(INode* parent) = 0;
    /// Clears the element that links to this node; the other children keep their positions.
    virtual bool unparentFrom(INode* parent) = 0;

    /// Returns the paths from this node to nodes of a type (empty: any type). The caller owns the
    /// iterator. With `flag` the walk follows every link and connection, else only "children".
    virtual impl::PathIterator* paths(String type, bool flag) const = 0;
    virtual impl::PathIterator* paths(StringVector types, bool flag) const = 0;
    /// Returns null for a null or unknown target.
    virtual impl::PathIterator* pathsTo(INode* target, bool flag) const = 0;
    virtual impl::PathIterator* pathsTo(String name, bool flag) const = 0;
    /// Returns the first path, with one reference owned by the caller, or null.
    virtual NodePath* firstPathTo(INode* target, bool flag) const = 0;
    virtual NodePath* firstPathTo(String name, bool flag) const = 0;

    /// Returns the path of the definition file of the node's library.
    [[nodiscard]] virtual String nodeDefPath() const = 0;
    [[nodiscard]] virtual bool hasNodeInit() const = 0;
    [[nodiscard]] virtual bool hasNodePrep() const = 0;
    [[nodiscard]] virtual bool hasNodeEval() const = 0;
    [[nodiscard]] virtual bool hasNodeModify() const = 0;
    [[nodiscard]] virtual bool hasNodeFree() const = 0;
    /// These call the library's callback and return its result. Without a callback, init, prep and
    /// free return true, eval and modify false.
    virtual bool nodeInit() = 0;
    virtual bool nodePrep() const = 0;
    virtual bool nodeEval(EvalCtx* ctx, void* out) const = 0;
    virtual bool nodeModify(INode* other) = 0;
    virtual bool nodeFree() = 0;
    /// Returns the user data, which the library's callbacks own.
    [[nodiscard]] virtual void* data() const = 0;

    /// Returns the type's icon as SVG; without one, empty or the missing-icon picture.
    [[nodiscard]] virtual String svgIcon(bool emptyIfMissing) const = 0;
    /// Returns the help as a whole page or, with `page` false, as the fragment inside it.
    [[nodiscard]] virtual String htmlHelp(bool page, String text) const = 0;
    /// Returns the nodes that this node depends on and, with `downstream`, also the nodes that
    /// depend on it. The caller owns the iterator.
    virtual impl::NodeIterator* dependencies(bool downstream, bool flag) const = 0;
    /// Returns the node as scene text; `withDependencies` adds the nodes it depends on, in front of
    /// it, `changedOnly` leaves out inputs that are at their default.
    [[nodiscard]] virtual String serialize(bool withDependencies, bool changedOnly) const = 0;
    /// Returns a copy in the same scene; null without one. `deep` copies the dependencies too.
    virtual INode* clone(bool deep) const = 0;
    /// Tells whether the node's mesh buffers, if it has any, agree with each other.
    [[nodiscard]] virtual bool checkMesh() const = 0;

    void incRef() override = 0;
    void decRef() override = 0;
};

} // namespace qv::kelvo_sdk::interfaces
