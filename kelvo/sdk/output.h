#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/borrowed.h"
#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/input_access.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "kelvo/sdk/result.h"

#include <span>

namespace qv::kelvo_sdk {

/// Handle on an output; keeps it alive. Every operation is safe on an empty handle: questions
/// answer empty, false or 0, and `read` fails with a message.
class QV_EXPORT Output : public RefersTo<interfaces::IOutput> {
public:
    using RefersTo::RefersTo;

    /// Returns the object, borrowed, valid while a handle keeps it alive; null for an empty handle.
    /// To get the value, call `get<T>()`.
    [[nodiscard]] Borrowed<interfaces::IOutput> get() const noexcept {
        return Borrowed<interfaces::IOutput>(RefersTo::get());
    }

    [[nodiscard]] String name() const { return get() ? get()->name() : String(); }
    [[nodiscard]] String path() const { return get() ? get()->path() : String(); }
    [[nodiscard]] AttrType type() const { return get() ? get()->type() : AttrType::Null; }
    /// Returns the kind as text, a buffer with its element type: "Real", "Buffer<Float>".
    [[nodiscard]] String typeName() const { return get() ? get()->typeName() : String(); }
    /// Returns the element type of a buffer output, Null for other kinds.
    [[nodiscard]] DataType dataType() const { return get() ? get()->dataType() : DataType::Null; }
    /// Returns the owner, borrowed; null after its destruction or the removal of the output.
    [[nodiscard]] interfaces::INode* node() const { return get() ? get()->node() : nullptr; }

    /// Evaluates the output and returns the result as an input without a node, to be read like any
    /// other input; empty when there is no result. A node in it is borrowed. Needs
    /// kelvo/sdk/input.h.
    [[nodiscard]] Input evaluate(EvalCtx* ctx = nullptr) const;
    /// Evaluates the output and reads the result as a `T`, converted, as `Input::read` does. Fails,
    /// with `out` unchanged, when there is no result or it does not convert.
    template<typename T>
    Result read(T& out, EvalCtx* ctx = nullptr) const {
        // Callbacks of the evaluation may empty or destroy this handle.
        const RefersTo<interfaces::IOutput> held(*this);
        if (tryRead(out, ctx)) return {};
        return detail::readFailure(held.get(), detail::written(T()));
    }
    /// Evaluates the output and returns the result as a `T`; `fallback` when that fails.
    template<typename T>
    [[nodiscard]] T get(T fallback = T()) const {
        tryRead(fallback, nullptr);
        return fallback;
    }
    /// Evaluates a buffer output and returns the elements if their type is exactly that of `T`,
    /// else an empty span. The span is valid until this thread evaluates the output again, or the
    /// output is destroyed.
    template<typename T>
    [[nodiscard]] std::span<const T> buffer(EvalCtx* ctx = nullptr) const {
        interfaces::BufferView view;
        if (!tryRead(view, ctx) || view.type != elementTypeOf<T>) return {};
        return {static_cast<const T*>(view.data), view.count};
    }
    /// Evaluates the output and returns the result as text; empty when there is none.
    [[nodiscard]] String asString(EvalCtx* ctx = nullptr) const {
        String text;
        tryRead(text, ctx);
        return text;
    }

    /// Returns the number of connected inputs.
    [[nodiscard]] u64 targetCount() const { return get() ? get()->targetCount() : 0; }
    /// Returns a connected input, in order of connection; empty out of range. Needs
    /// kelvo/sdk/input.h.
    [[nodiscard]] Input target(u64 index) const;

private:
    template<typename T>
    bool tryRead(T& out, EvalCtx* ctx) const {
        const RefersTo<interfaces::IInput> value = evaluated(ctx);
        return value && detail::read(*value, out, true, nullptr);
    }
    // Returns an input with the result; empty when there is none.
    [[nodiscard]] RefersTo<interfaces::IInput> evaluated(EvalCtx* ctx) const;
};

} // namespace qv::kelvo_sdk
