// Look-ups by name of the handles. They call the implementation itself, because the functions of
// the interfaces take the name as a String, which would have to be made first.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

namespace qv::kelvo_sdk {

using impl::implOf;

Input Node::operator[](const NameView& name) const {
    return get() ? Input(implOf(*get()).findInputByName(name)) : Input();
}

interfaces::IInput* Node::borrowInput(const NameView& name) const noexcept {
    return get() ? implOf(*get()).lookUpInput(name) : nullptr;
}

Output Node::output(const NameView& name) const {
    return get() ? Output(implOf(*get()).findOutputByName(name)) : Output();
}

interfaces::IOutput* Node::borrowOutput(const NameView& name) const noexcept {
    return get() ? implOf(*get()).lookUpOutput(name) : nullptr;
}

Input Input::operator[](const NameView& name) const {
    return get() ? Input(implOf(*get()).findInputByName(name)) : Input();
}

interfaces::IInput* Input::borrowInput(const NameView& name) const noexcept {
    return get() ? implOf(*get()).lookUpInput(name) : nullptr;
}

Node Scene::findNode(const NameView& name) const {
    return get() ? Node(implOf(*get()).lookUpNode(name)) : Node();
}

} // namespace qv::kelvo_sdk
