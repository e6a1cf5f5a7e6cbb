#pragma once

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/borrowed.h"
#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/input_access.h"
#include "kelvo/sdk/output.h"
#include "kelvo/sdk/result.h"

#include <ranges>
#include <span>
#include <utility>

namespace qv::kelvo_sdk {

/// Handle on an input; keeps it alive. Every operation is safe on an empty handle: questions answer
/// empty, false or 0, and what would change something fails with a message.
class QV_EXPORT Input : public RefersTo<interfaces::IInput> {
public:
    using RefersTo::RefersTo;

    /// Returns the object, borrowed, valid while a handle holds it; null when empty. The value is
    /// `get<T>()`.
    [[nodiscard]] Borrowed<interfaces::IInput> get() const noexcept {
        return Borrowed<interfaces::IInput>(RefersTo::get());
    }

    /// Returns an input by itself, of no node, at the kind's zero value: to convert a value, or to
    /// write one as text. Arrays made so hold elements of no kind.
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
    /// Returns the owning node; borrowed, null once it is gone.
    [[nodiscard]] interfaces::INode* node() const { return get() ? get()->node() : nullptr; }

    /// Writes a value, converted to the input's kind: a bool, number, text, node (handle or
    /// pointer) or `qv::math` value. Fails, and changes nothing, when it does not convert or is not
    /// allowed; the message tells the range or the choices.
    template<typename T>
    Result set(const T& value) const {
        if (get() && detail::write(*get(), value)) return {};
        return detail::writeFailure(get(), detail::written(value));
    }
    /// Reads the value as a `T`, converted; connections are evaluated. `out` stays as it is when
    /// that fails.
    template<typename T>
    Result read(T& out, EvalCtx* ctx = nullptr) const {
        return read(out, true, ctx);
    }
    /// The same with a choice: without `evaluate` it is the value stored here.
    template<typename T>
    Result read(T& out, bool evaluate, EvalCtx* ctx = nullptr) const {
        // Callbacks that are asked may let go of this handle.
        const RefersTo<interfaces::IInput> held(*this);
        if (held && detail::read(*held, out, evaluate, ctx)) return {};
        return detail::readFailure(held.get(), detail::written(T()), evaluate);
    }
    /// Reads the value as a `T`; `fallback` when it does not convert.
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
    /// Returns the elements of a buffer whose element type is exactly that of `T`, else an empty
    /// span. Valid until the value changes.
    template<typename T>
    [[nodiscard]] std::span<const T> buffer() const {
        interfaces::BufferView view;
        if (!get() || !get()->readBuffer(view, true, nullptr) || view.type != elementTypeOf<T>)
            return {};
        return {static_cast<const T*>(view.data), view.count};
    }

    /// Takes over the value stored in another input, converted as by `set`; a buffer is shared,
    /// not copied. Fails when it does not convert or is not allowed, and for arrays and objects.
    Result copyValue(const Input& from) const;

    /// Sets the value from text, as `set` does.
    Result setString(const String& text) const { return set(text); }
    /// Returns the value as text, empty when it has none; connections are evaluated.
    [[nodiscard]] String asString(EvalCtx* ctx = nullptr) const { return asString(true, ctx); }
    /// The same with a choice: without `evaluate` it is the value stored here.
    [[nodiscard]] String asString(bool evaluate, EvalCtx* ctx = nullptr) const;
    /// Return the node that the input links to, or an empty handle, in the same two ways; need
    /// kelvo/sdk/node.h.
    [[nodiscard]] Node asNode(EvalCtx* ctx = nullptr) const;
    [[nodiscard]] Node asNode(bool evaluate, EvalCtx* ctx = nullptr) const;
    /// Brings the default back; fails where that is not allowed, or for some of what is inside.
    Result reset() const;

    // The definition of the input. Its values come as inputs of their own, to be read like any
    // other; a node in one is borrowed.

    /// Returns the label in a language ("auto": the current one), else the name, in title case.
    [[nodiscard]] String label(String language = "auto") const {
        return get() ? get()->label(std::move(language)) : String();
    }
    [[nodiscard]] String help(String language = "auto") const {
        return get() ? get()->help(std::move(language)) : String();
    }
    /// Returns the unit text, e.g. "m"; empty when none is described.
    [[nodiscard]] String unit() const { return get() ? get()->unit() : String(); }
    [[nodiscard]] bool isReadOnly() const { return get() && get()->isReadOnly(); }
    [[nodiscard]] bool isDefault() const { return get() && get()->isDefault(); }
    /// Tells whether anything is described of the input beyond its kind: a default, bounds,
    /// choices, a unit, labels or help.
    [[nodiscard]] bool isDescribed() const;
    /// Tells whether the scene text that the input was read from leaves it to the definition of the
    /// node's type.
    [[nodiscard]] bool isLeftToType() const;
    /// Returns the value that `reset` brings back; empty for arrays and objects.
    [[nodiscard]] Input defaultValue() const;
    /// Return the bounds within which writes are allowed, tuples component by component; empty when
    /// there is none.
    [[nodiscard]] Input minimum() const;
    [[nodiscard]] Input maximum() const;
    /// Returns how many values are allowed; 0 when any will do.
    [[nodiscard]] u64 choiceCount() const;
    /// Returns an allowed value; empty out of range.
    [[nodiscard]] Input choice(u64 index) const;

    /// Tells whether modifiers made another value of the user's, which `keptValue` has then.
    [[nodiscard]] bool isModified() const;
    /// Returns the value that is kept aside: the user's where modifiers wrote another, or one that
    /// "@stashed" keeps in scene text; empty when there is none.
    [[nodiscard]] Input keptValue() const;
    /// Returns the nodes that the input and all it holds depend on, by links and connections, each
    /// once. Needs kelvo/sdk/node.h.
    [[nodiscard]] ds::Vector<Node> dependencies() const;

    /// Returns the number of array elements or object members.
    [[nodiscard]] u64 inputCount() const { return get() ? get()->inputCount() : 0; }
    /// Returns an element or member; empty, and logged, when out of range.
    [[nodiscard]] Input input(u64 index) const;
    /// Returns the member of that name; empty, and logged, when there is none.
    [[nodiscard]] Input operator[](String name) const;
    /// Adds an element to an array and returns it; fails for other kinds.
    Made<Input> append() const;
    /// Adds a member to an object, or returns the one there is.
    Made<Input> createInput(String name, AttrType type) const;
    /// The same for an array of elements of a kind.
    Made<Input> createArray(String name, AttrType elementType) const;
    /// The same for a buffer that takes elements of that type alone; Null: of any.
    Made<Input> createBuffer(String name, DataType elementType) const;

    /// Connects, in place of any earlier connection; an empty handle disconnects. Fails when the
    /// kinds do not convert, a loop would close, or the output is of another scene or of none.
    Result connect(const Output& output) const {
        return get() && get()->connect(output.get()) ? Result() : connectFailure(output);
    }
    /// Fails when there is no connection.
    Result disconnect() const {
        return get() && get()->disconnect() ? Result() : disconnectFailure();
    }
    [[nodiscard]] Output source() const { return get() ? Output(get()->source()) : Output(); }

    /// Renames the input, at its place, with all that names it: the lists of the node's modifiers,
    /// its layout, and what scene text keeps of it; connections and links stay. One step of undo.
    /// Fails, logged, and nothing is changed, when the name is no simple identifier or another
    /// input beside it has it, for an element of an array, an input of no node, a member of
    /// something read-only, and where the list of a modifier may not be changed.
    Result rename(const String& name) const;

    /// Returns the array or object that holds this input; empty at the top level.
    [[nodiscard]] Input parent() const;
    /// Returns the element type of a buffer, Null for other kinds.
    [[nodiscard]] DataType dataType() const { return get() ? get()->dataType() : DataType::Null; }
    /// Tells whether adding, renaming and removing this input is not announced.
    [[nodiscard]] bool isSilent() const { return get() && get()->isSilent(); }
    /// Returns all elements or members, in order.
    [[nodiscard]] ds::Vector<Input> inputs() const;
    /// Tells, silently, whether there is a member of that name and kind; Null stands for any.
    [[nodiscard]] bool hasInput(String name, AttrType type = AttrType::Null) const {
        return get() && get()->hasInput(std::move(name), type);
    }
    /// Adds an element in front of the index-th (at most the count); fails for other kinds.
    Made<Input> insert(u64 index) const;
    /// Moves an element; those between close the gap.
    Result moveElement(u64 from, u64 to) const;
    Result removeInput(u64 index) const;
    Result removeInput(const String& name) const;
    /// Fails where elements or members stay: in what is read-only, or when those who hear of it add
    /// others.
    Result clearInputs() const;

private:
    [[nodiscard]] Result connectFailure(const Output& output) const;
    [[nodiscard]] Result disconnectFailure() const;
};

} // namespace qv::kelvo_sdk
