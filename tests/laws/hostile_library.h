#pragma once

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"

#include <functional>

namespace qv::tests {

/// Returns a library of the standard types, and of "thing", "lamp", "image" and others without
/// callbacks.
[[nodiscard]] kelvo_sdk::LibInfo quietLibrary();

/// The same types, all with callbacks, which notify the listener of each call.
class HostileLibrary {
public:
    using Listener =
        std::function<void(kelvo_sdk::interfaces::INode*, kelvo_sdk::interfaces::IInput*)>;

    /// Only one may exist at a time.
    explicit HostileLibrary(Listener listener);
    ~HostileLibrary();
    HostileLibrary(const HostileLibrary&) = delete;
    HostileLibrary& operator=(const HostileLibrary&) = delete;

    [[nodiscard]] static kelvo_sdk::LibInfo types();
};

} // namespace qv::tests
