#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_plugins {

/// The environment variable of directories with plug-ins, separated by ':'.
inline constexpr const char* pathVariable = "KELVO_PLUGIN_PATH";

/// Directories in which plug-ins and their definitions are looked for, the first first.
using SearchPath = std::vector<std::filesystem::path>;

/// Returns the directories that a text like that of the variable tells; empty ones are left out.
[[nodiscard]] SearchPath directoriesOf(std::string_view text);

/// Returns the directories of the environment variable.
[[nodiscard]] SearchPath directoriesOfEnvironment();

/// Returns the name of a plug-in by its file: "springs" for "libsprings.so", "springs.so.2".
[[nodiscard]] std::string pluginName(const std::filesystem::path& file);

/// Returns the first file of that name, empty when there is none.
[[nodiscard]] std::filesystem::path findFile(const SearchPath& path, const std::string& name);

/// Returns the first plug-in of that name: "springs.so" or "libsprings.so" for "springs".
[[nodiscard]] std::filesystem::path findPlugin(const SearchPath& path, const std::string& name);

/// Returns the plug-ins in a directory, by file name: the shared objects beside which lies a
/// definition file of the same name. Others, such as the libraries that they need, are left alone.
[[nodiscard]] std::vector<std::filesystem::path> pluginsIn(const std::filesystem::path& directory);

} // namespace qv::kelvo_plugins
