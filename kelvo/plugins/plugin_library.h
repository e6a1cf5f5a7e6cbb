#pragma once

#include "kelvo/plugins/shared_object.h"

#include "kelvo/sdk/lib_info.h"

namespace qv::kelvo_plugins {

/// The parts of a plug-in that its library needs until the end: the code, and the look-up object
/// made by that code.
// In this order: the look-up is destroyed first, as it runs its own code.
struct PluginCode {
    std::shared_ptr<SharedObject> object;
    kelvo_sdk::LibInfo lookUp;
};

/// Returns a library for the types of a plug-in. The library keeps the shared object in memory, and
/// nodes keep the library: the last reference to it, of a node or the program, unloads the plug-in.
[[nodiscard]] kelvo_sdk::LibInfo createPluginLibrary(PluginCode code, String kndPath);

/// Gives all types of the library their callbacks from the plug-in's look-up, which may throw.
void bindTypes(const kelvo_sdk::LibInfo& library, const kelvo_sdk::LibInfo& lookUp);

} // namespace qv::kelvo_plugins
