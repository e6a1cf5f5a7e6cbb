#pragma once

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/input_access.h"
#include "kelvo/sdk/output.h"

#include <ranges>
#include <span>
#include <utility>

namespace qv::kelvo_sdk {

/// Handle on an input; keeps it alive. Every operation is safe on an empty handle, which answers
/// empty, false or 0.
class QV_EXPORT Input : public RefersTo<interfaces::IInput> {
public:
    using RefersTo::get;
    using RefersTo::RefersTo;

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
    /// pointer) or `qv::math` value. False when it does not convert or is not allowed.
    template<typename T>
    bool set(const T& value) const {
        return get() && detail::write(*get(), value);
    }
    /// Reads the value as a `T`, converted; connections are evaluated. False leaves `out` alone.
    template<typename T>
    bool read(T& out, EvalCtx* ctx = nullptr) const {
        return get() && detail::read(*get(), out, ctx);
    }
    /// Reads the value as a `T`; `fallback` when it does not convert.
    template<typename T>
    [[nodiscard]] T get(T fallback = T()) const {
        read(fallback);
        return fallback;
    }

    /// Copies the elements of an array, vector or span into a buffer.
    template<std::ranges::contiguous_range R>
    bool setBuffer(const R& elements) const {
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
        if (!read(view) || view.type != elementTypeOf<T>) return {};
        return {static_cast<const T*>(view.data), view.count};
    }

    /// Takes over the value stored in another input, converted as by `set`; a buffer is shared,
    /// not copied. False when it does not convert or is not allowed, and for arrays and objects.
    bool copyValue(const Input& from) const;

    bool setString(String text) const { return get() && get()->setString(std::move(text)); }
    /// Returns the value as text, empty when it has none; `evaluate` follows a connection.
    [[nodiscard]] String asString(bool evaluate = true, EvalCtx* ctx = nullptr) const;
    /// Returns the node that the input links to, or an empty handle; needs kelvo/sdk/node.h.
    [[nodiscard]] Node asNode(bool evaluate = true, EvalCtx* ctx = nullptr) const;
    bool reset() const { return get() && get()->reset(); }

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
    /// Adds an element to an array and returns it; empty for other kinds.
    Input append() const;
    /// Adds a member to an object, or returns the one there is.
    Input createInput(String name, AttrType type) const;
    /// The same for an array of elements of a kind.
    Input createArray(String name, AttrType elementType) const;
    /// The same for a buffer that takes elements of that type alone; Null: of any.
    Input createBuffer(String name, DataType elementType) const;

    bool connect(const Output& output) const { return get() && get()->connect(output.get()); }
    bool disconnect() const { return get() && get()->disconnect(); }
    [[nodiscard]] Output source() const { return get() ? Output(get()->source()) : Output(); }

    /// Renames the input, at its place, with all that names it: the lists of the node's modifiers,
    /// its layout, and what scene text keeps of it; connections and links stay. One step of undo.
    /// False, logged, and nothing is changed, when the name is no simple identifier or another
    /// input beside it has it, for an element of an array, an input of no node, a member of
    /// something read-only, and where the list of a modifier may not be changed.
    bool rename(String name) const;

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
    /// Adds an element in front of the index-th (at most the count); empty for other kinds.
    Input insert(u64 index) const;
    /// Moves an element; those between close the gap.
    bool moveElement(u64 from, u64 to) const { return get() && get()->moveElement(from, to); }
    bool removeInput(u64 index) const { return get() && get()->removeInput(index); }
    bool removeInput(String name) const { return get() && get()->removeInput(std::move(name)); }
    bool clearInputs() const { return get() && get()->clearInputs(); }
};

} // namespace qv::kelvo_sdk
