#pragma once

#include "kelvo/plugins/plugin.h"

#include <functional>
#include <vector>

namespace qv::kelvo_plugins {

/// Who asked for a node library: the program that registered it or named its path, or the user's
/// environment.
enum class Origin { Program, Environment };

/// Receives one sentence about a plug-in that cannot be loaded.
using Complain = std::function<void(const String& message, Origin origin)>;

/// Loads what a program is to use: the registered libraries, then what `paths` names, then the
/// directories of KELVO_PLUGIN_PATH. Each file is loaded once.
///
/// A path is a shared object, a directory, of which all plug-ins are loaded (`pluginsIn`), or the
/// name of a plug-in, which is looked for in those directories. What cannot be loaded is told and
/// left out.
[[nodiscard]] std::vector<Plugin> loadPlugins(const std::vector<String>& paths,
                                              const Complain& complain);

} // namespace qv::kelvo_plugins
