#pragma once

#include "kelvo/plugins/registry.h"
#include "kelvo/plugins/search_path.h"

#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/result.h"

namespace qv::kelvo_plugins {

/// A loaded node library, ready to be added to a scene.
struct Plugin {
    String name;
    /// Absolute path of the shared object; empty for a registered library.
    String file;
    /// Keeps the shared object in memory.
    kelvo_sdk::LibInfo library;
};

/// Loads a plug-in with the definitions beside it. On failure unloads everything, leaves `plugin`
/// as it is and returns a sentence that names the file.
kelvo_sdk::Result loadPlugin(const std::filesystem::path& file, Plugin& plugin);

/// Makes the library of a registered entry. Searches `path` for its definition file.
kelvo_sdk::Result loadRegistered(const Registered& registered, const SearchPath& path,
                                 Plugin& plugin);

} // namespace qv::kelvo_plugins
