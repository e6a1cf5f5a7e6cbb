#pragma once

#include "kelvo/plugins/registry.h"
#include "kelvo/plugins/search_path.h"

#include "kelvo/sdk/lib_info.h"

namespace qv::kelvo_plugins {

/// A loaded node library, ready to be added to a scene.
struct Plugin {
    String name;
    /// Absolute path of the shared object; empty for a registered library.
    String file;
    /// Keeps the shared object in memory.
    kelvo_sdk::LibInfo library;
};

/// Loads a plug-in with the definitions beside it. On failure returns false, unloads everything and
/// puts a sentence into `error` that names the file.
[[nodiscard]] bool loadPlugin(const std::filesystem::path& file, Plugin& plugin, String& error);

/// Makes the library of a registered entry. Searches `path` for its definition file.
[[nodiscard]] bool loadRegistered(const Registered& registered, const SearchPath& path,
                                  Plugin& plugin, String& error);

} // namespace qv::kelvo_plugins
