#pragma once

#include "kelvo/sdk/library_entry.h"

#include <vector>

namespace qv::kelvo_plugins {

/// A node library that is linked into the program.
struct Registered {
    String name;
    kelvo_sdk::LibraryEntryPoint entry = nullptr;
};

/// Makes a node library that is linked into the program known to `loadPlugins`, for builds without
/// shared objects. Any thread may. False when the name is empty or taken, or there is no entry.
bool registerLibrary(String name, kelvo_sdk::LibraryEntryPoint entry);

/// Forgets a node library; what was loaded of it stays. False when there is none of that name.
bool unregisterLibrary(const String& name);

/// Returns the registered libraries in order of registration.
[[nodiscard]] std::vector<Registered> registeredLibraries();

} // namespace qv::kelvo_plugins
