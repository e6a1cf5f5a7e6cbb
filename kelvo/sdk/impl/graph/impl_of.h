#pragma once

#include "kelvo/sdk/borrowed.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <cassert>

namespace qv::kelvo_sdk::impl {

class Input;
class Node;
class Output;
class Scene;

/// The one implementation of an interface.
template<typename Interface>
struct ImplementationOf;
template<>
struct ImplementationOf<interfaces::IInput> {
    using Type = Input;
};
template<>
struct ImplementationOf<interfaces::IOutput> {
    using Type = Output;
};
template<>
struct ImplementationOf<interfaces::INode> {
    using Type = Node;
};
template<>
struct ImplementationOf<interfaces::IScene> {
    using Type = Scene;
};

/// Returns the implementation behind an interface; null for null. Every node, input, output and
/// scene that clients pass must be one of this library's, which debug builds check.
template<typename Interface>
[[nodiscard]] auto* implOf(Interface* known) noexcept {
    using Impl = typename ImplementationOf<Interface>::Type;
    assert(!known || dynamic_cast<Impl*>(known));
    return static_cast<Impl*>(known);
}
template<typename Interface>
[[nodiscard]] const auto* implOf(const Interface* known) noexcept {
    using Impl = typename ImplementationOf<Interface>::Type;
    assert(!known || dynamic_cast<const Impl*>(known));
    return static_cast<const Impl*>(known);
}
template<typename Interface>
[[nodiscard]] auto* implOf(Borrowed<Interface> known) noexcept {
    return implOf(static_cast<Interface*>(known));
}
template<typename Interface>
[[nodiscard]] auto& implOf(Interface& known) noexcept {
    return *implOf(&known);
}

} // namespace qv::kelvo_sdk::impl
