// Functions of the public handle for the definition of an input, and for values without an input.

#include "kelvo/sdk/input.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

namespace {

using impl::implOf;

const impl::AttrDetails* detailsOf(const interfaces::IInput* input) {
    return input ? implOf(input)->details() : nullptr;
}

Input shown(const impl::Value& value) {
    return value.isNull() ? Input() : Input(impl::Input::showing(value).get());
}

} // namespace

Input Input::create(AttrType type) {
    return {adoptRef, new impl::Input(nullptr, nullptr, "value", type, AttrType::Null)};
}

bool Input::isDescribed() const {
    return detailsOf(get()) != nullptr;
}

bool Input::isOmitted() const {
    return get() && implOf(get())->isOmitted();
}

bool Input::isModified() const {
    const impl::Input* input = implOf(get());
    return input && input->isModified() && *input->stashed() != input->value();
}

Input Input::keptValue() const {
    const impl::Value* kept = get() ? implOf(get())->stashed() : nullptr;
    return kept ? shown(*kept) : Input();
}

ds::Vector<Node> Input::dependencies() const {
    ds::Vector<interfaces::INode*> found;
    if (get()) impl::findDeps(get(), found, false);
    ds::Vector<Node> nodes;
    for (interfaces::INode* node : found)
        nodes.push_back(Node(node));
    return nodes;
}

Input Input::defaultValue() const {
    return get() ? shown(implOf(get())->defaultValue()) : Input();
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
