#pragma once

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/borrowed.h"
#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/input_access.h"
#include "kelvo/sdk/output.h"
#include "kelvo/sdk/result.h"

#include "kelvo/base/name.h"

#include <ranges>
#include <span>
#include <utility>

namespace qv::kelvo_sdk {

// For clients that use this namespace alone.
using qv::Name;
using qv::NameView;

/// Handle on an input; keeps it alive. Every operation is safe on an empty handle: questions answer
/// empty, false or 0, and operations that return a `Result` or `Made` fail with a message.
class QV_EXPORT Input : public RefersTo<interfaces::IInput> {
public:
    using RefersTo::RefersTo;

    /// Returns the object, borrowed, valid while a handle keeps it alive; null for an empty handle.
    /// To get the value, call `get<T>()`.
    [[nodiscard]] Borrowed<interfaces::IInput> get() const noexcept {
        return Borrowed<interfaces::IInput>(RefersTo::get());
    }

    /// Returns an input without a node, at the kind's zero value, for converting a value or writing
    /// it as text. An array made here has no element kind.
    [[nodiscard]] static Input create(AttrType type);

    [[nodiscard]] String name() const { return get() ? get()->name() : String(); }
    [[nodiscard]] String path() const { return get() ? get()->path() : String(); }
    [[nodiscard]] AttrType type() const { return get() ? get()->type() : AttrType::Null; }
    /// Returns the kind as text: "Real", "Array<Node>", "Buffer<Pos3f>".
    [[nodiscard]] String typeName() const { return get() ? get()->typeName() : String(); }
    /// Returns the element kind of an array, Null for other kinds.
    [[nodiscard]] AttrType elementType() const {
        return get() ? get()->elementType() : AttrType::Null;
    }
    /// Returns the owner, borrowed; null after its destruction or the removal of the input.
    [[nodiscard]] interfaces::INode* node() const { return get() ? get()->node() : nullptr; }

    /// Writes a value, converted to the input's kind: a bool, number, text, node (handle or
    /// pointer) or `qv::math` value. Fails, and changes nothing, when the value does not convert or
    /// is not allowed; the message names the range or the choices.
    template<typename T>
    Result set(const T& value) const {
        if (get() && detail::write(*get(), value)) return {};
        return detail::writeFailure(get(), detail::written(value));
    }
    /// Reads the value as a `T`, converted; connections are evaluated. `out` is unchanged when the
    /// read fails.
    template<typename T>
    Result read(T& out, EvalCtx* ctx = nullptr) const {
        return read(out, true, ctx);
    }
    /// Reads the effective value as a `T` or, with `evaluate` false, the stored value.
    template<typename T>
    Result read(T& out, bool evaluate, EvalCtx* ctx = nullptr) const {
        // Callbacks of the evaluation may empty or destroy this handle.
        const RefersTo<interfaces::IInput> held(*this);
        if (held && detail::read(*held, out, evaluate, ctx)) return {};
        return detail::readFailure(held.get(), detail::written(T()), evaluate);
    }
    /// Returns the value as a `T`; `fallback` when the value does not convert.
    template<typename T>
    [[nodiscard]] T get(T fallback = T()) const {
        if (get()) detail::read(*get(), fallback, true, nullptr);
        return fallback;
    }

    /// Copies the elements of an array, vector or span into a buffer.
    template<std::ranges::contiguous_range R>
    Result setBuffer(const R& elements) const {
        constexpr DataType type = elementTypeOf<std::ranges::range_value_t<R>>;
        static_assert(type != DataType::Null, "no element type stands for this C++ type");
        return set(
            interfaces::BufferView{type, std::ranges::data(elements), std::ranges::size(elements)});
    }
    /// Returns the elements of a buffer if its element type is exactly that of `T`, else an empty
    /// span. The span is valid until the value changes.
    template<typename T>
    [[nodiscard]] std::span<const T> buffer() const {
        interfaces::BufferView view;
        if (!get() || !get()->readBuffer(view, true, nullptr) || view.type != elementTypeOf<T>)
            return {};
        return {static_cast<const T*>(view.data), view.count};
    }

    /// Copies the stored value of another input, converted as by `set`; a buffer is shared, not
    /// copied. Fails when the value does not convert or is not allowed, and for arrays and objects.
    Result copyValue(const Input& from) const;

    /// Sets the value from text, as `set` does.
    Result setString(const String& text) const { return set(text); }
    /// Returns the value as text, empty when there is none; connections are evaluated.
    [[nodiscard]] String asString(EvalCtx* ctx = nullptr) const { return asString(true, ctx); }
    /// Returns the effective value as text or, with `evaluate` false, the stored value.
    [[nodiscard]] String asString(bool evaluate, EvalCtx* ctx = nullptr) const;
    /// Return the node that the input links to, or an empty handle; `evaluate` as in `asString`.
    /// Need kelvo/sdk/node.h.
    [[nodiscard]] Node asNode(EvalCtx* ctx = nullptr) const;
    [[nodiscard]] Node asNode(bool evaluate, EvalCtx* ctx = nullptr) const;
    /// Restores the default. Fails where this input, or one inside it, may not be changed.
    Result reset() const;

    // The definition of the input. Values in it are returned as inputs without a node, to be read
    // like any other input; a node in such a value is borrowed.

    /// Returns the label in a language ("auto": the current one), else the name, in title case.
    [[nodiscard]] String label(String language = "auto") const {
        return get() ? get()->label(std::move(language)) : String();
    }
    [[nodiscard]] String help(String language = "auto") const {
        return get() ? get()->help(std::move(language)) : String();
    }
    /// Returns the unit, e.g. "m"; empty when the definition gives none.
    [[nodiscard]] String unit() const { return get() ? get()->unit() : String(); }
    [[nodiscard]] bool isReadOnly() const { return get() && get()->isReadOnly(); }
    [[nodiscard]] bool isDefault() const { return get() && get()->isDefault(); }
    /// Tells whether the input has a description: a default, bounds, choices, a unit, labels or
    /// help.
    [[nodiscard]] bool isDescribed() const;
    /// Tells whether the scene text that the input was read from omits it, because the definition
    /// of the node's type supplies it.
    [[nodiscard]] bool isOmitted() const;
    /// Returns the value that `reset` restores; empty for arrays and objects.
    [[nodiscard]] Input defaultValue() const;
    /// Return the bounds for writes, which apply to each component of a tuple; empty without a
    /// bound.
    [[nodiscard]] Input minimum() const;
    [[nodiscard]] Input maximum() const;
    /// Returns the number of choices; 0 when any value is allowed.
    [[nodiscard]] u64 choiceCount() const;
    /// Returns one of the choices; empty out of range.
    [[nodiscard]] Input choice(u64 index) const;

    /// Tells whether modifiers replaced the user's value, which `keptValue` then returns.
    [[nodiscard]] bool isModified() const;
    /// Returns the kept value: the user's value if modifiers replaced it, or the "@stashed" value
    /// from scene text; empty when there is none.
    [[nodiscard]] Input keptValue() const;
    /// Returns the nodes that the input and the inputs inside it depend on, through links and
    /// connections, each node once. Needs kelvo/sdk/node.h.
    [[nodiscard]] ds::Vector<Node> dependencies() const;

    /// Returns the number of array elements or object members.
    [[nodiscard]] u64 inputCount() const { return get() ? get()->inputCount() : 0; }
    /// Returns an element or member; empty, and logged, when out of range.
    [[nodiscard]] Input input(u64 index) const;
    /// Returns the member of that name; empty, and logged, when there is none.
    [[nodiscard]] Input operator[](const NameView& name) const;
    // 0 would be a null name; `input(0)` is by position.
    Input operator[](int) const = delete;
    /// Returns the member or element of that name, borrowed and valid until it is removed; null,
    /// without a log entry, when there is none.
    [[nodiscard]] interfaces::IInput* borrowInput(const NameView& name) const noexcept;
    /// Adds an element to an array and returns it; fails for other kinds.
    Made<Input> append() const;
    /// Adds a member to an object, or returns the existing one of that name and kind.
    Made<Input> createInput(String name, AttrType type) const;
    /// Like `createInput`, for an array with elements of a kind.
    Made<Input> createArray(String name, AttrType elementType) const;
    /// Like `createInput`, for a buffer that accepts only elements of this type; Null for any.
    Made<Input> createBuffer(String name, DataType elementType) const;

    /// Connects to an output and replaces an earlier connection; an empty handle disconnects. Fails
    /// when the kinds do not convert, the connection would close a loop, or the output was removed
    /// or belongs to another scene.
    Result connect(const Output& output) const {
        return get() && get()->connect(output.get()) ? Result() : connectFailure(output);
    }
    /// Fails when there is no connection.
    Result disconnect() const {
        return get() && get()->disconnect() ? Result() : disconnectFailure();
    }
    [[nodiscard]] Output source() const { return get() ? Output(get()->source()) : Output(); }

    /// Renames the input in one undo step, with everything that refers to it by name: the lists of
    /// the node's modifiers, the node's layout, and comments and gaps of scene text. Its position,
    /// connections and links are unchanged.
    ///
    /// Fails, logs and changes nothing when the name is no simple identifier or taken, for an
    /// element of an array, an input without a node or a member of a read-only object, and when
    /// the list of a modifier is read-only.
    Result rename(const String& name) const;

    /// Returns the array or object that contains this input; empty at the top level.
    [[nodiscard]] Input parent() const;
    /// Returns the element type of a buffer, Null for other kinds.
    [[nodiscard]] DataType dataType() const { return get() ? get()->dataType() : DataType::Null; }
    /// Tells whether adding, renaming and removing this input sends no notification.
    [[nodiscard]] bool isSilent() const { return get() && get()->isSilent(); }
    /// Returns all elements or members, in order.
    [[nodiscard]] ds::Vector<Input> inputs() const;
    /// Tells, without a log entry, whether there is a member of that name and kind; Null for any.
    [[nodiscard]] bool hasInput(const NameView& name, AttrType type = AttrType::Null) const {
        const interfaces::IInput* found = borrowInput(name);
        return found && (type == AttrType::Null || found->type() == type);
    }
    /// Adds an element at an index (at most the count); fails for other kinds than arrays.
    Made<Input> insert(u64 index) const;
    /// Moves an element; the elements between shift by one.
    Result moveElement(u64 from, u64 to) const;
    Result removeInput(u64 index) const;
    Result removeInput(const String& name) const;
    /// Removes all elements or members. Fails when some remain, because they may not be removed or
    /// observers add others.
    Result clearInputs() const;

private:
    [[nodiscard]] Result connectFailure(const Output& output) const;
    [[nodiscard]] Result disconnectFailure() const;
};

} // namespace qv::kelvo_sdk
