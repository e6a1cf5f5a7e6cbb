// The handle's look at what the definition of an input says.

#include "kelvo/sdk/input.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"

namespace qv::kelvo_sdk {

namespace {

const impl::AttrDetails* detailsOf(const interfaces::IInput* input) {
    return input ? impl::implOf(input)->details() : nullptr;
}

Input shown(const impl::Value& value) {
    return value.isNull() ? Input() : Input(impl::Input::showing(value).get());
}

} // namespace

Input Input::defaultValue() const {
    return get() ? shown(impl::implOf(get())->defaultValue()) : Input();
}

Input Input::minimum() const {
    const impl::AttrDetails* details = detailsOf(get());
    return details ? shown(details->minimum) : Input();
}

Input Input::maximum() const {
    const impl::AttrDetails* details = detailsOf(get());
    return details ? shown(details->maximum) : Input();
}

u64 Input::choiceCount() const {
    const impl::AttrDetails* details = detailsOf(get());
    return details ? details->choices.size() : 0;
}

Input Input::choice(u64 index) const {
    return index < choiceCount() ? shown(detailsOf(get())->choices[index]) : Input();
}

} // namespace qv::kelvo_sdk
