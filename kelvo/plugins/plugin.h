#pragma once

#include "kelvo/plugins/registry.h"
#include "kelvo/plugins/search_path.h"

#include "kelvo/sdk/lib_info.h"

namespace qv::kelvo_plugins {

/// A node library that is ready for a scene.
struct Plugin {
    String name;
    /// The shared object, absolute; empty for a registered library.
    String file;
    /// Keeps the shared object in memory.
    kelvo_sdk::LibInfo library;
};

/// Loads a plug-in with the definitions beside it. False when that fails: nothing stays loaded, and
/// `error` is one sentence that names the file.
[[nodiscard]] bool loadPlugin(const std::filesystem::path& file, Plugin& plugin, String& error);

/// Makes the library of a registered entry. A definition file is looked for in `path`.
[[nodiscard]] bool loadRegistered(const Registered& registered, const SearchPath& path,
                                  Plugin& plugin, String& error);

} // namespace qv::kelvo_plugins
