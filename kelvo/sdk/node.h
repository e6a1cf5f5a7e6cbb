#pragma once

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/interfaces/conversion_loss.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/node_observer.h"

#include "kelvo/base/name.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk {

struct LayoutPage;
class NodePaths;
class Scene;

using interfaces::ConversionLoss;
using interfaces::ConversionLosses;
using interfaces::NodeObserver;

/// Former names of ConversionLoss and ConversionLosses, for programs that still use them.
using Misfit = ConversionLoss;
using Misfits = ConversionLosses;

/// Handle on a node; keeps it alive. Every operation is safe on an empty handle: questions answer
/// empty, false or 0, and operations that return a `Result` or `Made` fail with a message.
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
    /// Tells whether the type serves only as a base of others.
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
    /// Returns the pages of the layout, which need not contain all inputs. Needs
    /// kelvo/sdk/layout.h.
    [[nodiscard]] ds::Vector<LayoutPage> layoutPages(String language = "auto") const;

    /// Returns the input of that name; empty, with a log entry, when there is none.
    [[nodiscard]] Input operator[](const NameView& name) const;
    // 0 would be a null name; `input(0)` is by position.
    Input operator[](int) const = delete;
    [[nodiscard]] u64 inputCount() const { return get() ? get()->inputCount() : 0; }
    [[nodiscard]] Input input(u64 index) const;
    /// Returns the input of that name, borrowed and valid until it is removed; null, without a log
    /// entry, when there is none. Faster than a handle, which counts references.
    [[nodiscard]] interfaces::IInput* borrowInput(const NameView& name) const noexcept;
    /// Returns the input at a path like "array[3].member"; arrays grow if elements are missing.
    /// Empty, without a log entry, when a step of the path fails.
    [[nodiscard]] Input inputAt(String path) const;
    /// Adds an input at the end, or returns the existing one of that name and kind. Fails, and
    /// logs, when the name is no simple identifier.
    Made<Input> createInput(String name, AttrType type) const;
    /// Like `createInput`, for an array with elements of a kind.
    Made<Input> createArray(String name, AttrType elementType) const;
    /// Like `createInput`, for a buffer that accepts only elements of this type; Null for any.
    Made<Input> createBuffer(String name, DataType elementType) const;
    /// Like `createInput`, with the kind, element type and value of another input. Does not copy
    /// that input's elements, members and description.
    Made<Input> createInput(String name, const Input& like) const;
    Result removeInput(const String& name) const;

    /// Returns the output of that name; empty, with a log entry, when there is none.
    [[nodiscard]] Output output(const NameView& name) const;
    /// Is like `borrowInput`.
    [[nodiscard]] interfaces::IOutput* borrowOutput(const NameView& name) const noexcept;
    [[nodiscard]] u64 outputCount() const { return get() ? get()->outputCount() : 0; }
    /// Returns an output by position; empty, with a log entry, when out of range.
    [[nodiscard]] Output output(u64 index) const;
    /// Adds an output at the end, or returns the existing one of that name and kind. Fails, and
    /// logs, when the name is no simple identifier, and for Node, Buffer, Array and Object.
    Made<Output> createOutput(String name, AttrType type) const;
    /// Like `createOutput`, for a buffer with elements of this type.
    Made<Output> createOutput(String name, DataType elementType) const;

    /// Returns the nodes below an "xform", parents first: its children, and `depth` levels below
    /// them (negative for all). The walk ends even with cycles.
    [[nodiscard]] ds::Vector<Node> children(i64 depth = 0) const;
    /// Makes this node the last child of `parent`; fails when it is a child already, or `parent`
    /// cannot have children.
    Result parentTo(const Node& parent) const;
    /// Clears the element of the parent that links to this node; fails when there is none.
    Result unparentFrom(const Node& parent) const;
    /// Returns the first chain of nodes to `target`, through "children" or, with `allLinks`,
    /// through every link and connection; empty when there is none. Needs kelvo/sdk/node_path.h.
    [[nodiscard]] RefersTo<NodePath> firstPathTo(const Node& target, bool allLinks = false) const;
    /// Return all chains of nodes to `target`, or to the nodes of any of the types (without types,
    /// to every node within reach), found one by one. An empty handle has none.
    [[nodiscard]] NodePaths pathsTo(const Node& target, bool allLinks = false) const;
    [[nodiscard]] NodePaths paths(StringVector types = {}, bool allLinks = false) const;

    /// Returns the nodes that this node depends on, through links and connections, each once.
    [[nodiscard]] ds::Vector<Node> dependencies() const;
    /// Tells whether the node or one of its dependencies changed since it was marked clean.
    [[nodiscard]] bool dirty() const { return get() && get()->dirty(true); }
    Result setDirty(bool dirty) const;
    /// Returns a hash of name and inputs, the same in every run and build and on every machine.
    [[nodiscard]] u64 hash() const { return get() ? get()->hash({}) : 0; }

    /// Returns a copy in the same scene under the next free name; `deep` copies the dependencies
    /// too, else the copy shares them. Fails without a scene.
    Made<Node> clone(bool deep = false) const;
    /// Returns a copy as a free node, under any name; only the handle keeps it alive. The node's
    /// library initialises it like every copy. Fails for an empty handle.
    [[nodiscard]] Made<Node> copyByItself(String name) const;
    /// Replaces the node by a node of another type with the same name, place, links and connections
    /// to it, and the values that convert; returns the replacement. Fails, and changes nothing,
    /// without a scene or when the type is abstract or no simple identifier. Each loss is appended
    /// to `losses`, or logged when that is null.
    Made<Node> convertTo(String type, ConversionLosses* losses = nullptr) const;

    /// Tells whether the node represents a file, by String inputs "dir", "file" and "ext".
    [[nodiscard]] bool isPath() const { return get() && get()->isPath(); }
    [[nodiscard]] String asPath() const { return get() ? get()->asPath() : String(); }
    /// Fails for a node that represents no file, and when one of the three inputs refuses its part.
    Result setPath(const String& path) const;

    /// Adds an observer, which must unsubscribe before its destruction; fails if it is subscribed
    /// already.
    Result subscribe(NodeObserver* observer) const;
    Result unsubscribe(NodeObserver* observer) const;

    /// Returns the scene of the node; empty for a free node. Needs kelvo/sdk/scene.h.
    [[nodiscard]] Scene scene() const;
    /// Renames the node as `Scene::renameNode` does. Fails without a scene.
    Result rename(const String& name) const;
    /// Return all inputs and outputs, in order.
    [[nodiscard]] ds::Vector<Input> inputs() const;
    [[nodiscard]] ds::Vector<Output> outputs() const;
    /// Tell, without a log entry, whether there is an input or output of that name and kind; Null
    /// for any.
    [[nodiscard]] bool hasInput(const NameView& name, AttrType type = AttrType::Null) const {
        const interfaces::IInput* found = borrowInput(name);
        return found && (type == AttrType::Null || found->type() == type);
    }
    [[nodiscard]] bool hasOutput(const NameView& name, AttrType type = AttrType::Null) const {
        const interfaces::IOutput* found = borrowOutput(name);
        return found && (type == AttrType::Null || found->type() == type);
    }
    Result removeInput(u64 index) const;
    Result removeOutput(const String& name) const;
    /// Returns the position of this node among the children of another; negative when it is none.
    [[nodiscard]] i64 indexIn(const Node& parent) const {
        return get() ? get()->indexIn(parent.get()) : -1;
    }
    /// Returns the node as scene text; with `withDependencies`, after the nodes that it depends on.
    [[nodiscard]] String text(bool withDependencies = false) const {
        return get() ? get()->serialize(withDependencies, false) : String();
    }
};

} // namespace qv::kelvo_sdk
