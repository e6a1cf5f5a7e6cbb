#pragma once

#include "kelvo/sdk/library_entry.h"

#include <vector>

namespace qv::kelvo_plugins {

/// A node library that is linked into the program.
struct Registered {
    String name;
    kelvo_sdk::LibraryEntryPoint entry = nullptr;
};

/// Registers a node library that is linked into the program, for `loadPlugins`; serves builds
/// without shared objects. May be called from any thread. False when the name is empty or taken, or
/// `entry` is null.
bool registerLibrary(String name, kelvo_sdk::LibraryEntryPoint entry);

/// Unregisters a node library; a loaded one stays loaded. False when there is none of that name.
bool unregisterLibrary(const String& name);

/// Returns the registered libraries in order of registration.
[[nodiscard]] std::vector<Registered> registeredLibraries();

} // namespace qv::kelvo_plugins
