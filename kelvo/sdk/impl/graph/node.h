#pragma once

#include "kelvo/base/hash_map.h"
#include "kelvo/base/math.h"
#include "kelvo/base/name.h"
#include "kelvo/base/only.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/interfaces/i_layout.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/node_callbacks.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/path_parser.h"

#include <atomic>
#include <mutex>
#include <utility>

/// Returns the number of node objects alive in the process.
extern "C" QV_EXPORT qv::i64 impl_nodeInstanceCount();

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::ILayout;
using interfaces::INode;
using interfaces::IOutput;
using interfaces::IScene;
using interfaces::NodeObserver;

class DirtyCache;
class GraphReader;
class Input;
class InputListChange;
class LibInfo;
class NodeChange;
class NodeCopies;
class Output;
class OutputListChange;
class Scene;
class SceneBuilder;

/// The one implementation of a node. `INode` has the contract of its operations; here are the laws
/// of the rooms, each of which is one source file and one test.
///
///     Object and lifetime   node.cpp             construction, destruction, counting, statics
///     Type and naming       node_type.cpp        types, names, labels, layout, meta input
///     Attribute creation    node_create.cpp      checked names, new or existing attributes
///     Attribute look-up     node_find.cpp        by index, name, pointer
///     Attribute removal     node_remove.cpp      one, the last, all
///     Input paths           node_input_path.cpp  walks and searches by path
///     File paths            node_file_path.cpp   nodes that represent a file
///     Hierarchy             node_hierarchy.cpp   children, parenting
///     Node paths            node_routes.cpp      chains of nodes to others
///     State                 node_state.cpp       dirty flag, dependencies, hash
///     Compact graph         node_rows.cpp        rows of the node, dropped by changes
///     Observers             node_observers.cpp   the list
///     Notifications         node_notify.cpp      receivers of notifications and their order
///     Library               node_library.cpp     binding a definition, calling callbacks
///     Stash                 node_stash.cpp       inputs that modifiers act on
///     Copies                node_clone.cpp       clone, convert
///     Presentation          node_present.cpp     text, icon, help page
class QV_EXPORT Node : public INode {
public:
    // ---- Object and lifetime ---------------------------------------------------------------
    // A node starts with one reference, without a notification. It holds references to its inputs,
    // outputs and layout, but not to its scene. The last decRef clears all links and connections to
    // it, with notifications, and then destroys it; its destruction sends none. The number of live
    // nodes changes last in construction, and before the members are destroyed in destruction.

    Node();
    Node(IScene* scene, String type, String name);
    ~Node() override;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    void incRef() override;
    void decRef() override;
    /// Returns the number of node objects alive in the process.
    [[nodiscard]] static i64 instanceCount() noexcept { return s_instCount.load(); }
    [[nodiscard]] IScene* scene() const override;
    /// Returns the scene; null in the node's destructor, when the scene may no longer exist.
    [[nodiscard]] IScene* liveScene() const noexcept { return m_destroying ? nullptr : m_scene; }
    /// Tells whether the node is in its destructor, where new references cannot keep it alive.
    [[nodiscard]] bool isEnding() const noexcept { return m_destroying; }
    /// Tells whether the caller has the only reference.
    [[nodiscard]] bool isLastReference() const noexcept { return m_refCount.load() == 1; }
    /// Tells whether the node was removed from its scene.
    [[nodiscard]] bool hasLeft() const noexcept { return m_hasLeft; }

    /// A flag, not a counter: the first `endModification` clears it.
    [[nodiscard]] bool modifying() const noexcept { return m_modifying; }
    void beginModification() noexcept { m_modifying = true; }
    void endModification() noexcept { m_modifying = false; }

    // ---- Type and naming -------------------------------------------------------------------
    // The type, bases and names of a node. Only the bases listed here count; theirs are not looked
    // up.

    IInput* meta() const override;
    [[nodiscard]] String type() const override;
    [[nodiscard]] StringVector bases() const override;
    /// Type and bases without a copy, whose count threads would change at the same time.
    [[nodiscard]] const String& ownType() const noexcept { return m_type; }
    [[nodiscard]] const StringVector& ownBases() const noexcept { return m_bases; }
    [[nodiscard]] bool isAbstract() const override;
    [[nodiscard]] bool isInternal() const override;
    [[nodiscard]] bool isTypeOf(String type) const override;
    [[nodiscard]] bool isTypeOf(StringVector types) const override;
    /// Are like `isTypeOf`, without copies of the names.
    [[nodiscard]] bool hasType(const String& type) const noexcept;
    [[nodiscard]] bool hasTypeIn(const StringVector& types) const noexcept;
    [[nodiscard]] String typeDesc() const override;
    [[nodiscard]] String name() const override;
    [[nodiscard]] const String& ownName() const noexcept { return m_name; }
    [[nodiscard]] String label(String language) const override;
    [[nodiscard]] String help(String language) const override;
    [[nodiscard]] ILayout* layout() const override;
    void setLayout(ILayout* layout) override;
    [[nodiscard]] String displayName() const override;
    bool setDisplayName(String name) override;
    [[nodiscard]] String nodeDefPath() const override;

    /// For code that builds nodes from definitions.
    void setBases(StringVector bases, bool isAbstract, bool isInternal);
    void setMarks(bool isAbstract, bool isInternal) noexcept;
    void setLabel(String language, String text);
    void setHelp(String language, String text);
    void setSvgIcon(String svg);
    /// The scene keeps names unique and notifies observers.
    void setName(String name, Only<Scene, NodeChange, NodeCopies> key);
    /// The scene is null after the node was removed.
    void setScene(IScene* scene, Only<Scene, NodeCopies, SceneBuilder> /*key*/) noexcept {
        if (scene != m_scene) m_knownRows = 0;
        m_scene = scene;
    }
    void setHasLeft(bool hasLeft, Only<Scene> /*key*/) noexcept { m_hasLeft = hasLeft; }

    // ---- Attribute creation ----------------------------------------------------------------
    // An existing attribute of the same name and kind is returned instead of a new one, with a
    // warning if its element type differs. Only an illegal name gives null. A new attribute makes
    // the node dirty, is appended, and is notified, in this order.

    IInput* createInput(String name, AttrType type) override;
    IInput* createInput(String name, AttrData data);
    /// Is like `createInput`, for a buffer that declares its element type.
    IInput* createBuffer(String name, DataType elementType);
    IInput* createArray(String name, AttrType elementType) override;
    IOutput* createOutput(String name, AttrType type) override;
    /// Returns the existing input that is returned instead of a new one, or null.
    IInput* checkExistingInput(String name, AttrType type, AttrType elementType,
                               DataType dataType) const;
    IOutput* checkExistingOutput(String name, AttrType type, DataType dataType) const;

    // Put an attribute at the end or at an index without notifications. The list takes over the
    // reference.
    void append(RefersTo<Input> input, Only<Node, SceneBuilder> key);
    void append(RefersTo<Output> output, Only<Node, SceneBuilder> key);
    void put(RefersTo<Input> input, u64 index, Only<InputListChange> key);
    void put(RefersTo<Output> output, u64 index, Only<OutputListChange> key);
    /// Reserves memory for more attributes.
    void reserve(u64 inputs, u64 outputs, Only<SceneBuilder> key);

    // ---- Attribute look-up -----------------------------------------------------------------
    // Names are compared without regard to case, and the first match in order decides. Finders that
    // fail log one line; questions log nothing.

    [[nodiscard]] bool hasInput(u64 index, AttrType type) const override;
    [[nodiscard]] bool hasInput(String name, AttrType type) const override;
    [[nodiscard]] u64 inputCount() const override;
    IInput* input(u64 index) override;
    IInput* input(u64 index) const override;
    [[nodiscard]] bool hasOutput(u64 index, AttrType type) const override;
    [[nodiscard]] bool hasOutput(String name, AttrType type) const override;
    [[nodiscard]] u64 outputCount() const override;
    IOutput* output(u64 index) override;
    IOutput* output(u64 index) const override;
    IOutput* output(String name) override;
    IOutput* output(String name) const override;
    [[nodiscard]] IInput* findInputByName(const NameView& name) const;
    [[nodiscard]] IOutput* findOutputByName(const NameView& name) const;
    /// Are like the finders by name, without log entries.
    [[nodiscard]] IInput* lookUpInput(const NameView& name) const noexcept;
    [[nodiscard]] IOutput* lookUpOutput(const NameView& name) const noexcept;
    [[nodiscard]] IInput* findInputByIndex(u64 index) const;
    [[nodiscard]] IOutput* findOutputByIndex(u64 index) const;
    /// Returns -1 for null and for attributes of other nodes.
    [[nodiscard]] i64 indexOf(const IInput* input) const;
    [[nodiscard]] i64 indexOf(const IOutput* output) const;
    [[nodiscard]] const ds::Vector<IInput*>& inputs() const noexcept { return m_inputs; }
    [[nodiscard]] const ds::Vector<IOutput*>& outputs() const noexcept { return m_outputs; }

    // ---- Attribute removal -----------------------------------------------------------------
    // The node is dirty before the first notification, and detaches the attribute after the last
    // one, so that observers can still read it.

    bool removeInput(u64 index) override;
    bool removeInput(String name) override;
    bool removeLastInput() override;
    bool clearInputs() override;
    bool removeOutput(String name) override;
    bool removeOutput(u64 index) override;
    bool removeLastOutput() override;
    bool clearOutputs() override;

    // Take an attribute off its list without notifications. The caller gets the list's reference.
    void takeInput(u64 index, Only<Node, InputListChange> key) noexcept;
    void takeOutput(u64 index, Only<Node, OutputListChange> key) noexcept;

    // ---- Input paths -----------------------------------------------------------------------
    // Inputs are matched without regard to case and searched in arrays and objects; outputs are
    // matched exactly, at the top level. Misses are not logged. Only array elements are created on
    // the way.

    IInput* input(String path) override;
    IInput* input(String path) const override;
    [[nodiscard]] IInput* findInput(String path) const override;
    [[nodiscard]] IOutput* findOutput(String path) const override;
    IInput* parseInputPath(String path) override;
    IInput* parseInputPath(ds::Vector<PathParser::Token> tokens);

    // ---- File paths ------------------------------------------------------------------------
    // String inputs "dir", "file" and "ext" make a node represent a file; there is no other state.

    [[nodiscard]] bool isPath() const override;
    [[nodiscard]] String asPath() const override;
    bool setPath(String dir, String file, String ext) override;
    bool setPath(String path) override;

    // ---- Hierarchy -------------------------------------------------------------------------
    // The children are the nodes that the array "children" of an "xform" links to at the time of
    // the call.

    NodeIterator* children(i64 depth) const override;
    [[nodiscard]] i64 indexIn(INode* parent) const override;
    bool parentTo(INode* parent) override;
    bool unparentFrom(INode* parent) override;

    // ---- Node paths ------------------------------------------------------------------------
    // Each call makes a new search. Targets given by name need a node that belongs to a scene.

    PathIterator* paths(String type, bool flag) const override;
    PathIterator* paths(StringVector types, bool flag) const override;
    PathIterator* pathsTo(INode* target, bool flag) const override;
    PathIterator* pathsTo(String name, bool flag) const override;
    NodePath* firstPathTo(INode* target, bool flag) const override;
    NodePath* firstPathTo(String name, bool flag) const override;

    // ---- State -----------------------------------------------------------------------------
    // Every change sets the flag before any notification. Only setDirty(false), and a query that
    // finds nothing dirty, clear it.

    [[nodiscard]] u64 hash(StringVector skip) const override;
    [[nodiscard]] bool dirty(bool deep) const override;
    void setDirty(bool dirty) override;
    /// Returns the node's own flag.
    [[nodiscard]] bool isDirty() const noexcept { return m_dirty; }
    /// Sets the flag without telling anybody; returns whether it was clear.
    bool raiseDirty(Only<DirtyCache, SceneBuilder> /*key*/) noexcept {
        return !std::exchange(m_dirty, true);
    }
    NodeIterator* dependencies(bool downstream, bool flag) const override;

    // ---- Compact graph ---------------------------------------------------------------------
    // A change of the dependencies, children or readers of a node drops its rows in the graph of
    // its scene.

    /// Returns the node's number in its present or last scene.
    [[nodiscard]] NodeNumber number() const noexcept { return m_number; }
    /// Sets a number under which the graph has no rows yet.
    void setNumber(NodeNumber number, Only<Scene> /*key*/) noexcept {
        m_number = number;
        m_knownRows = 0;
    }
    /// Call under the lock of the graph: notes that a row was filled in.
    void noteRow(CompactGraph::Kind kind, Only<GraphReader> /*key*/) const noexcept {
        m_knownRows |= bitOf(kind);
    }
    /// Call when something changed that does not make the node dirty, such as a mark of an input.
    void described() const noexcept;
    /// Call when links or connections of the node's inputs change.
    void leadsChanged() noexcept {
        dropRows(bitOf(CompactGraph::Kind::Dependencies) | bitOf(CompactGraph::Kind::Children));
    }
    /// Call when links to the node or connections to its outputs change.
    void readersChanged() noexcept { dropRows(bitOf(CompactGraph::Kind::Readers)); }

    // ---- Observers -------------------------------------------------------------------------
    // A list of borrowed pointers in order of subscription, used only under the lock.

    bool subscribe(NodeObserver* observer) override;
    bool unsubscribe(NodeObserver* observer) override;
    bool unsubscribeAll() override;

    // ---- Notifications ---------------------------------------------------------------------
    // Every change sets the dirty flag first. Then, unless the node is being destroyed,
    // notifications follow inside one change scope: observers under the lock, from a copy of the
    // list; the scene after the lock is released; the library's callback last. Silent inputs are
    // added and removed without notifications. During a change of several parts, notifications wait
    // until it is complete.

    /// Tells whether a change of the input is neither recorded nor notified to anyone, as while a
    /// scene is built. The change then needs no step, only `changedUnnotified`.
    [[nodiscard]] bool isUnnotified(const Input& input) const noexcept;
    /// `changed` is the input whose value alone changed, null when other things did.
    void changedUnnotified(const Input* changed = nullptr) const noexcept;
    void onInputAdded(const IInput* input);
    void onOutputAdded(const IOutput* output);
    void onInputRemoved(const IInput* input);
    void onOutputRemoved(const IOutput* output);
    /// `previous` describes the value before the change.
    void onInputChanged(const IInput* input, const AttrData* previous);
    void onInputConnected(const IInput* input, const IOutput* before, const IOutput* after);
    /// Notifies the node's own observers and library of a change of the input. Silent inputs are
    /// renamed without notifications.
    void onInputRenamed(const IInput* input, String before);
    void notifyRemoved() const;
    void notifyRenamed(String name) const;
    void notifyConverted(INode* replacement) const;

    // ---- Library ---------------------------------------------------------------------------
    // The callbacks come as one set: the type's own if that is complete, else the first complete
    // set of a base, else the type's own, incomplete as it is.

    /// Binds the library; returns whether a complete set of callbacks was found.
    bool initLibInfo(impl::LibInfo* library);
    /// Returns the library of the node; null for none.
    [[nodiscard]] impl::LibInfo* library() const noexcept;
    [[nodiscard]] bool hasNodeInit() const override;
    [[nodiscard]] bool hasNodePrep() const override;
    [[nodiscard]] bool hasNodeEval() const override;
    [[nodiscard]] bool hasNodeModify() const override;
    [[nodiscard]] bool hasNodeFree() const override;
    bool nodeInit() override;
    bool nodePrep() const override;
    bool nodeEval(EvalCtx* ctx, void* out) const override;
    bool nodeModify(INode* other) override;
    bool nodeFree() override;
    [[nodiscard]] void* data() const override;
    [[nodiscard]] interfaces::NodeEvalFn evalCallback() const noexcept { return m_nodeEval; }
    /// Lets the processor fetch the parts of the node that an evaluation reads.
    void fetch() const noexcept {
        __builtin_prefetch(this);
        __builtin_prefetch(&m_scene);
        __builtin_prefetch(&m_inputs);
        __builtin_prefetch(&m_nodeEval);
    }

    // ---- Stash -----------------------------------------------------------------------------
    // The inputs that the node's modifiers name, at any depth, keep their values aside.

    void stash();
    void stash(IInput* input, const StringVector& names);

    // ---- Copies ----------------------------------------------------------------------------
    // The scene decides on placement and names; the node copies itself field by field, without
    // notifications.

    INode* clone(bool deep) const override;
    INode* convertTo(String type) override;
    /// Returns a copy that belongs to `scene` without being in it; the caller owns its reference.
    Node* clone(IScene* scene, String name) const;
    /// Copies type, texts, layout and library alone, for a scene and with another name.
    Node(const Node& from, IScene* scene, String name);
    /// Is like `clone`, but leaves the call of the init callback to the caller.
    [[nodiscard]] RefersTo<Node> copyFor(IScene* scene, String name) const;

    // ---- Presentation ----------------------------------------------------------------------
    // The writers define the formats. A flag is set while text is written, and restored afterwards,
    // not cleared.

    [[nodiscard]] String svgIcon(bool emptyIfMissing) const override;
    [[nodiscard]] String htmlHelp(bool page, String text) const override;
    [[nodiscard]] String serialize(bool withDependencies, bool changedOnly) const override;
    [[nodiscard]] bool serializing() const noexcept {
        return std::atomic_ref(m_serializing).load();
    }
    [[nodiscard]] bool checkMesh() const override;

    // The last of the interface, so that the order of all other operations is unchanged.
    /// Creates a buffer output of an element type, or returns the existing one.
    virtual IOutput* createOutput(String name, DataType dataType);

private:
    // Shows tests the layout.
    friend struct NodeLayoutProbe;

    void dropReferences() noexcept;
    static constexpr u8 bitOf(CompactGraph::Kind kind) noexcept {
        return static_cast<u8>(1u << static_cast<u8>(kind));
    }
    void dropRows(int rows) noexcept {
        if ((m_knownRows & rows) != 0) dropKnownRows(rows);
    }
    void dropKnownRows(int rows) noexcept;

    IInput* addInput(Input* input);
    IOutput* addOutput(Output* output);
    bool removeFoundInput(IInput* input);
    bool removeFoundOutput(IOutput* output);
    [[nodiscard]] String fullPath(String path) const;
    [[nodiscard]] bool isTypeOrBase(std::string_view name) const noexcept;
    bool bindCallbacks(const String& type);
    void evaluationChanged() const noexcept;
    void markDirty(const Input* changed = nullptr) const;
    [[nodiscard]] bool hasReceivers() const noexcept;
    [[nodiscard]] bool needsNotification(const IInput& input) const;
    void copyAttributes(const Node& from);
    template<typename Tell>
    void tellObservers(const Tell& tell) const;
    template<typename Attribute, typename Tell>
    void tellScene(const Attribute* attribute, const Tell& tell);

    std::atomic<i32> m_refCount = 0;
    // This member, and later ones below, take what would be padding, so that no other member moves.
    NodeNumber m_number = noNumber;
    ds::Vector<NodeObserver*> m_observers;
    mutable std::recursive_mutex m_observerMutex;
    IScene* m_scene = nullptr;
    String m_type;
    StringVector m_bases;
    bool m_isAbstract = false;
    bool m_isInternal = false;
    String m_name;
    mutable bool m_dirty = false;
    bool m_destroying = false;
    mutable bool m_serializing = false;
    bool m_modifying = false;
    bool m_hasLeft = false;
    // Tells whether there are observers. It can be read without the lock, which takes longer than
    // the rest of a change without observers.
    std::atomic<bool> m_isObserved = false;
    // Has a bit for each kind of row that the graph of the scene has for this node.
    mutable u8 m_knownRows = 0;
    ds::Vector<IInput*> m_inputs;
    ds::Vector<IOutput*> m_outputs;
    ds::HashMap<String, String> m_labels;
    ds::HashMap<String, String> m_helps;
    ILayout* m_layout = nullptr;
    kelvo_sdk::LibInfo m_libInfo;
    interfaces::NodeInitFn m_nodeInit = nullptr;
    interfaces::NodePrepFn m_nodePrep = nullptr;
    interfaces::NodeEvalFn m_nodeEval = nullptr;
    interfaces::NodeModifyFn m_nodeModify = nullptr;
    interfaces::NodeFreeFn m_nodeFree = nullptr;
    interfaces::NodeChangedFn m_nodeChanged = nullptr;
    String m_svgIcon;
    void* m_data = nullptr;

    static std::atomic<i32> s_instCount;
    static const String s_missingSvgIcon;
};

/// Returns the scene that contains the node; null before it was added and after its removal.
[[nodiscard]] const Scene* sceneAround(const Node& node) noexcept;

/// Call when the node is added or removed: drops its rows in the compact graph and those of its
/// neighbours.
void surroundingsChanged(Node& node) noexcept;

/// Tells whether adding an attribute to the node may call foreign code, which may drop the last
/// references to both. The node's own observers are not notified of it.
[[nodiscard]] bool mayCallBack(const Node& node) noexcept;

/// Appends the nodes that a "children" input links to and, down to `maxDepth` (negative for no
/// limit), the nodes below them; parents first, each node once. `depth` is the depth of the input.
/// The walk ends even with cycles, but with a limit its work grows with the limit. An "xform"
/// without the input gets an empty one of no kind, with a log entry, as by `input("children")`.
QV_EXPORT void getChildren(IInput* input, i64 depth, i64 maxDepth, ds::Vector<INode*>& out);

/// Appends a node and all its dependencies, each once and unless `out` already has it. With
/// `downstream`, follows connections to readers of outputs as well.
QV_EXPORT void findDeps(INode* node, ds::Vector<INode*>& out, bool downstream);
/// Is like `findDeps` for a node, starting at an input and the inputs inside it.
QV_EXPORT void findDeps(IInput* input, ds::Vector<INode*>& out, bool downstream);

} // namespace qv::kelvo_sdk::impl
