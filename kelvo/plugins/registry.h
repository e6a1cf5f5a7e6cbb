#pragma once

#include "kelvo/sdk/library_entry.h"
#include "kelvo/sdk/result.h"

#include <vector>

namespace qv::kelvo_plugins {

/// A node library that is linked into the program.
struct Registered {
    String name;
    kelvo_sdk::LibraryEntryPoint entry = nullptr;
};

/// Registers a node library that is linked into the program, for `loadPlugins`; serves builds
/// without shared objects. May be called from any thread. Fails when the name is empty or taken, or
/// `entry` is null.
kelvo_sdk::Result registerLibrary(String name, kelvo_sdk::LibraryEntryPoint entry);

/// Unregisters a node library; a loaded one stays loaded. Fails when there is none of that name.
kelvo_sdk::Result unregisterLibrary(const String& name);

/// Returns the registered libraries in order of registration.
[[nodiscard]] std::vector<Registered> registeredLibraries();

} // namespace qv::kelvo_plugins
