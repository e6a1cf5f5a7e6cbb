// Functions of the handles of inputs and outputs that change something or may fail. They find the
// reason only after a failure, so that success costs nothing.

#include "kelvo/sdk/input.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <algorithm>
#include <type_traits>

namespace qv::kelvo_sdk {

namespace {

using impl::emptyHandle;
using impl::failureOf;
using impl::implOf;
using interfaces::BufferView;
using interfaces::IInput;

impl::Value valueOf(const detail::Written& written) {
    return std::visit(
        [](const auto& value) {
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, BufferView>)
                return impl::Value(impl::Buffer(value.type, value.data, value.count));
            else
                return impl::Value(value);
        },
        written);
}

// Tells whether a buffer has elements that cannot be copied.
bool isBroken(const detail::Written& written) {
    const auto* view = std::get_if<BufferView>(&written);
    return view && view->count != 0 && (!view->data || view->type == DataType::Null);
}

String refusedValue(const impl::Input& input) {
    return "Cannot set '" + input.path() + "': the value is refused.";
}

String readRefusal(const impl::Input& input, AttrType asked, bool evaluate) {
    const char* kind = attrTypeName(asked);
    const impl::Output* source = evaluate ? input.sourceOutput() : nullptr;
    if (source)
        return String::format("Cannot read '%s' as %s: output '%s' gives no value that converts.",
                              input.path().buf(), kind, source->path().buf());
    if (input.value().isNull())
        return String::format("Cannot read '%s' as %s: %s has no value of its own.",
                              input.path().buf(), kind, input.typeName().buf());
    impl::Value converted;
    const bool fits = !impl::convertValue(input.value(), asked, converted);
    return String::format("Cannot read '%s' as %s: the value %s.", input.path().buf(), kind,
                          fits ? "does not convert" : "does not fit the variable");
}

// Returns the reason why an input refuses an element or member of that name and kind.
String memberRefusal(const impl::Input& input, const String& name, const char* kind) {
    const String what = "Cannot create input '" + name + "' in input '" + input.path() + "': ";
    if (input.type() == AttrType::Array) {
        const auto next = static_cast<unsigned long long>(input.inputCount());
        if (!input.isReadOnly())
            return what + String::format("its next element is '%llu', of kind %s, not %s.", next,
                                         attrTypeName(input.elementType()), kind);
    } else if (!input.isObject()) {
        return what + "its kind " + input.typeName() + " holds no inputs.";
    }
    if (input.isReadOnly()) return impl::changeRefusal(input);
    return what + (name.isSimpleCID() ? "it was taken away by those who heard of it."
                                      : "the name is no simple identifier.");
}

// Returns the reason why an edit at an index of an array or object fails.
String placeRefusal(const Input& input, u64 index) {
    const u64 count = input.inputCount();
    if (index < count && input.isReadOnly()) return impl::changeRefusal(*implOf(input.get()));
    if (index < count && input.type() == AttrType::Array)
        return "The new element of '" + input.path() + "' was taken away by those who heard of it.";
    if (index < count) return "The members of '" + input.path() + "' have no order to change.";
    return String::format("Input '%s' has no place %llu: it holds %llu.", input.path().buf(),
                          static_cast<unsigned long long>(index),
                          static_cast<unsigned long long>(count));
}

// Makes an input in another one by `create(IInput&)`.
template<typename Create>
Made<Input> makeIn(const Input& holder, const String& name, const char* kind,
                   const Create& create) {
    if (!holder) return emptyHandle("input");
    const Input held(holder);
    Input made(create(*held));
    if (made) return made;
    return Result::failure(memberRefusal(*implOf(held.get()), name, kind));
}

} // namespace

namespace detail {

Result writeFailure(const IInput* input, const Written& value) {
    if (!input) return emptyHandle("input");
    const auto& known = *implOf(input);
    if (isBroken(value))
        return Result::failure("Cannot set '" + known.path() +
                               "': the elements of the buffer have no address or no type.");
    return failureOf(impl::valueRefusal(known, valueOf(value)), refusedValue(known));
}

Result readFailure(const IInput* input, const Written& kind, bool evaluate) {
    if (!input) return emptyHandle("input");
    const AttrType asked =
        std::holds_alternative<BufferView>(kind) ? AttrType::Buffer : valueOf(kind).type();
    return Result::failure(readRefusal(*implOf(input), asked, evaluate));
}

Result readFailure(const interfaces::IOutput* output, const Written& kind) {
    if (!output) return emptyHandle("output");
    const AttrType asked =
        std::holds_alternative<BufferView>(kind) ? AttrType::Buffer : valueOf(kind).type();
    return Result::failure("Output '" + output->path() + "' gives no value that converts to " +
                           attrTypeName(asked) + ".");
}

} // namespace detail

Result Input::copyValue(const Input& from) const {
    if (!get()) return emptyHandle("input");
    if (!from) return Result::failure("There is no input to copy from: the handle is empty.");
    const impl::Value& value = implOf(from.get())->value();
    if (implOf(get())->setValue(value)) return {};
    if (value.isNull())
        return Result::failure("'" + from.path() + "' is of kind " + from.typeName() +
                               ", which has no value to copy.");
    const impl::Input& input = *implOf(get());
    return failureOf(impl::valueRefusal(input, value), refusedValue(input));
}

Result Input::reset() const {
    if (!get()) return emptyHandle("input");
    const Input held(*this);
    if (held->reset()) return {};
    const impl::Input* left = implOf(held.get())->firstChanged();
    if (!left)
        return Result::failure("'" + held.path() + "' is of kind Null, which has no default.");
    String reason;
    if (left->type() == AttrType::Array)
        reason = left->isReadOnly() ? impl::changeRefusal(*left) : String();
    else
        reason = impl::storeRefusal(*left, left->defaultValue());
    return failureOf(reason,
                     "Cannot reset '" + held.path() + "': those who heard of it set it again.");
}

Made<Input> Input::append() const {
    if (!get()) return emptyHandle("input");
    const Input held(*this);
    if (IInput* made = held->appendElement()) return Input(made);
    if (held.type() != AttrType::Array)
        return Result::failure("Cannot append to '" + held.path() + "': its kind " +
                               held.typeName() + " has no elements.");
    if (held.isReadOnly()) return Result::failure(impl::changeRefusal(*implOf(held.get())));
    return Result::failure("The new element of '" + held.path() +
                           "' was taken away by those who heard of it.");
}

Made<Input> Input::insert(u64 index) const {
    if (!get()) return emptyHandle("input");
    const Input held(*this);
    if (index == held.inputCount()) return held.append();
    if (IInput* made = held->insertElement(index)) return Input(made);
    return Result::failure(placeRefusal(held, index));
}

Result Input::moveElement(u64 from, u64 to) const {
    if (!get()) return emptyHandle("input");
    if (get()->moveElement(from, to)) return {};
    return Result::failure(placeRefusal(*this, std::max(from, to)));
}

Result Input::removeInput(u64 index) const {
    if (!get()) return emptyHandle("input");
    if (get()->removeInput(index)) return {};
    return Result::failure(placeRefusal(*this, index));
}

Result Input::removeInput(const String& name) const {
    if (!get()) return emptyHandle("input");
    if (get()->removeInput(name)) return {};
    if (hasInput(name)) return Result::failure(impl::changeRefusal(*implOf(get())));
    return Result::failure("Input '" + path() + "' holds no '" + name + "'.");
}

Result Input::clearInputs() const {
    if (!get()) return emptyHandle("input");
    const Input held(*this);
    if (held->clearInputs()) return {};
    const bool isFixed = held.isReadOnly();
    return failureOf(isFixed ? impl::changeRefusal(*implOf(held.get())) : String(),
                     "Input '" + held.path() + "' was filled again by those who heard of it.");
}

Result Input::rename(const String& name) const {
    if (!get()) return emptyHandle("input");
    const Input held(*this);
    if (implOf(held.get())->rename(name)) return {};
    return failureOf(impl::renameRefusal(*implOf(held.get()), name),
                     "Cannot rename input '" + held.path() + "' to '" + name + "'.");
}

Made<Input> Input::createInput(String name, AttrType type) const {
    return makeIn(*this, name, attrTypeName(type),
                  [&](IInput& input) { return input.createInput(name, type); });
}

Made<Input> Input::createArray(String name, AttrType elementType) const {
    return makeIn(*this, name, "Array",
                  [&](IInput& input) { return input.createArray(name, elementType); });
}

Made<Input> Input::createBuffer(String name, DataType elementType) const {
    return makeIn(*this, name, "Buffer",
                  [&](IInput& input) { return implOf(input).createBuffer(name, elementType); });
}

Result Input::connectFailure(const Output& output) const {
    if (!get()) return emptyHandle("input");
    return failureOf(impl::connectRefusal(*implOf(get()), *implOf(output.get())),
                     "Cannot connect input '" + path() + "' to output '" + output.path() + "'.");
}

Result Input::disconnectFailure() const {
    if (!get()) return emptyHandle("input");
    return Result::failure("Input '" + path() + "' has no connection.");
}

} // namespace qv::kelvo_sdk
