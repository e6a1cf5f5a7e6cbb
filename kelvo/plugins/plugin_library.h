#pragma once

#include "kelvo/plugins/shared_object.h"

#include "kelvo/sdk/lib_info.h"

namespace qv::kelvo_plugins {

/// Things that a plug-in's library needs to its very end: the code, and the plug-in's own look-up
/// in it.
// In this order: the look-up goes by its own code.
struct PluginCode {
    std::shared_ptr<SharedObject> object;
    kelvo_sdk::LibInfo lookUp;
};

/// Returns a library for the types of a plug-in. It keeps the shared object in memory, and nodes
/// keep their library: whoever lets go of it last, node or program, unloads the plug-in.
[[nodiscard]] kelvo_sdk::LibInfo createPluginLibrary(PluginCode code, String kndPath);

/// Gives all types of the library the callbacks that the plug-in's look-up has for them, which may
/// throw.
void bindTypes(const kelvo_sdk::LibInfo& library, const kelvo_sdk::LibInfo& lookUp);

} // namespace qv::kelvo_plugins
