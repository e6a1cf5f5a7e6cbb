#pragma once

#include "kelvo/plugins/plugin.h"

#include <functional>
#include <vector>

namespace qv::kelvo_plugins {

/// The source of a request for a node library: the program, which registered the library or named
/// its path, or the user's environment.
enum class Origin { Program, Environment };

/// Receives one sentence about a plug-in that cannot be loaded.
using Complain = std::function<void(const String& message, Origin origin)>;

/// Loads the registered libraries, then the plug-ins that `paths` names, then those in the
/// directories of KELVO_PLUGIN_PATH. Loads each file once.
///
/// A path is a shared object, a directory (all of its plug-ins are loaded, see `pluginsIn`), or the
/// name of a plug-in, which is searched in all those directories. A plug-in that cannot be loaded
/// is reported and skipped.
[[nodiscard]] std::vector<Plugin> loadPlugins(const std::vector<String>& paths,
                                              const Complain& complain);

} // namespace qv::kelvo_plugins
