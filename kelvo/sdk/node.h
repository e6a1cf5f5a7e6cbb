#pragma once

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/interfaces/conversion_loss.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/node_observer.h"

#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk {

struct LayoutPage;
class NodePaths;
class Scene;

using interfaces::ConversionLoss;
using interfaces::ConversionLosses;
using interfaces::NodeObserver;

/// Former names of ConversionLoss and ConversionLosses, for programs that use them still.
using Misfit = ConversionLoss;
using Misfits = ConversionLosses;

/// Handle on a node; keeps it alive. Every operation is safe on an empty handle, which answers
/// empty, false or 0.
class QV_EXPORT Node : public RefersTo<interfaces::INode> {
public:
    using RefersTo::RefersTo;

    [[nodiscard]] String name() const { return get() ? get()->name() : String(); }
    [[nodiscard]] String type() const { return get() ? get()->type() : String(); }
    [[nodiscard]] String displayName() const { return get() ? get()->displayName() : String(); }
    [[nodiscard]] bool isTypeOf(String type) const {
        return get() && get()->isTypeOf(std::move(type));
    }
    [[nodiscard]] StringVector bases() const { return get() ? get()->bases() : StringVector(); }
    /// Tells whether the type is only a base of others.
    [[nodiscard]] bool isAbstract() const { return get() && get()->isAbstract(); }
    /// Tells whether the type is not offered to users.
    [[nodiscard]] bool isInternal() const { return get() && get()->isInternal(); }
    /// Returns the label of the type in a language ("auto": the current one), else the display
    /// name, in title case.
    [[nodiscard]] String label(String language = "auto") const {
        return get() ? get()->label(std::move(language)) : String();
    }
    [[nodiscard]] String help(String language = "auto") const {
        return get() ? get()->help(std::move(language)) : String();
    }
    /// Returns the pages on which the definition shows the inputs; inputs that it leaves out are on
    /// none. Needs kelvo/sdk/layout.h.
    [[nodiscard]] ds::Vector<LayoutPage> layoutPages(String language = "auto") const;

    /// Returns the input of that name; empty, and logged, when there is none.
    [[nodiscard]] Input operator[](String name) const;
    [[nodiscard]] u64 inputCount() const { return get() ? get()->inputCount() : 0; }
    [[nodiscard]] Input input(u64 index) const;
    /// Returns the input at a path like "array[3].member"; arrays grow on the way. Empty, silently,
    /// when the path leads nowhere.
    [[nodiscard]] Input inputAt(String path) const;
    /// Adds an input at the end, or returns the one there is of that name and kind. Empty, and
    /// logged, when the name is no simple identifier.
    Input createInput(String name, AttrType type) const;
    /// The same for an array of elements of a kind.
    Input createArray(String name, AttrType elementType) const;
    /// The same for a buffer that takes elements of that type alone; Null: of any.
    Input createBuffer(String name, DataType elementType) const;
    /// The same for an input of the kind and element type of another one, which starts at its
    /// value. Its elements and members, and all that is described of it, are not copied.
    Input createInput(String name, const Input& like) const;
    bool removeInput(String name) const { return get() && get()->removeInput(std::move(name)); }

    /// Returns the output of that name; empty, and logged, when there is none.
    [[nodiscard]] Output output(String name) const;
    [[nodiscard]] u64 outputCount() const { return get() ? get()->outputCount() : 0; }
    /// Returns an output by position; empty, and logged, when out of range.
    [[nodiscard]] Output output(u64 index) const;
    /// Adds an output at the end, or returns the one there is of that name and kind. Empty, and
    /// logged, when the name is no simple identifier, and for Node, Buffer, Array and Object.
    Output createOutput(String name, AttrType type) const;
    /// The same for a buffer of elements of that type.
    Output createOutput(String name, DataType elementType) const;

    /// Returns the nodes below an "xform", parents first: its children, and down to `depth` levels
    /// below them (negative: all). Cycles end.
    [[nodiscard]] ds::Vector<Node> children(i64 depth = 0) const;
    /// Makes this node the last child; false when it is one already, or `parent` takes none.
    bool parentTo(const Node& parent) const { return get() && get()->parentTo(parent.get()); }
    /// Empties the element that links here; false when there is none.
    bool unparentFrom(const Node& parent) const {
        return get() && get()->unparentFrom(parent.get());
    }
    /// Returns the first chain of nodes that leads to `target`, through "children" or, `allLinks`,
    /// through every link and connection; empty when there is none. Needs kelvo/sdk/node_path.h.
    [[nodiscard]] RefersTo<NodePath> firstPathTo(const Node& target, bool allLinks = false) const;
    /// Return all chains of nodes to `target`, or to the nodes of any of the types (no types: to
    /// every node that is reached), found one by one. None for an empty handle.
    [[nodiscard]] NodePaths pathsTo(const Node& target, bool allLinks = false) const;
    [[nodiscard]] NodePaths paths(StringVector types = {}, bool allLinks = false) const;

    /// Returns the nodes that this one depends on, by links and connections, each once.
    [[nodiscard]] ds::Vector<Node> dependencies() const;
    /// Tells whether the node, or one that it depends on, changed since it was marked clean.
    [[nodiscard]] bool dirty() const { return get() && get()->dirty(true); }
    void setDirty(bool dirty) const {
        if (get()) get()->setDirty(dirty);
    }
    /// Returns a hash of name and inputs, the same on every run, build and machine.
    [[nodiscard]] u64 hash() const { return get() ? get()->hash({}) : 0; }

    /// Returns a copy in the same scene under the next free name; `deep` copies what the node
    /// depends on too, else the copy shares it. Empty without a scene.
    Node clone(bool deep = false) const { return get() ? Node(get()->clone(deep)) : Node(); }
    /// Returns a copy by itself, in no scene, under any name, which the handle alone keeps. Its
    /// library initialises it, as it does every copy. Empty for an empty handle.
    [[nodiscard]] Node copyByItself(String name) const;
    /// Replaces the node by one of another type that has its name and place, all that leads to it,
    /// and its values as far as they convert; returns the replacement. Empty, with nothing changed,
    /// without a scene or when the type is abstract or no simple identifier. What did not fit is
    /// appended to `losses`, and logged where that is null.
    Node convertTo(String type, ConversionLosses* losses = nullptr) const;

    /// Tells whether the node stands for a file: by String inputs "dir", "file" and "ext".
    [[nodiscard]] bool isPath() const { return get() && get()->isPath(); }
    [[nodiscard]] String asPath() const { return get() ? get()->asPath() : String(); }
    bool setPath(String path) const { return get() && get()->setPath(std::move(path)); }

    bool subscribe(NodeObserver* observer) const { return get() && get()->subscribe(observer); }
    bool unsubscribe(NodeObserver* observer) const { return get() && get()->unsubscribe(observer); }

    /// Returns the scene that the node belongs to; empty when it is in none. Needs
    /// kelvo/sdk/scene.h.
    [[nodiscard]] Scene scene() const;
    /// Renames the node as `Scene::renameNode` does. False without a scene.
    bool rename(String name) const;
    /// Return all inputs and outputs, in order.
    [[nodiscard]] ds::Vector<Input> inputs() const;
    [[nodiscard]] ds::Vector<Output> outputs() const;
    /// Tell, silently, whether there is an input or output of that name and kind; Null stands for
    /// any.
    [[nodiscard]] bool hasInput(String name, AttrType type = AttrType::Null) const {
        return get() && get()->hasInput(std::move(name), type);
    }
    [[nodiscard]] bool hasOutput(String name, AttrType type = AttrType::Null) const {
        return get() && get()->hasOutput(std::move(name), type);
    }
    bool removeInput(u64 index) const { return get() && get()->removeInput(index); }
    bool removeOutput(String name) const { return get() && get()->removeOutput(std::move(name)); }
    /// Returns the place of this node among the children of another, -1 when it is none of them.
    [[nodiscard]] i64 indexIn(const Node& parent) const {
        return get() ? get()->indexIn(parent.get()) : -1;
    }
    /// Returns the node as scene text, behind the nodes that it depends on where these are wanted.
    [[nodiscard]] String text(bool withDependencies = false) const {
        return get() ? get()->serialize(withDependencies, false) : String();
    }
};

} // namespace qv::kelvo_sdk
