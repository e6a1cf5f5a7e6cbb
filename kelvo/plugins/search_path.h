#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_plugins {

/// The environment variable that lists directories of plug-ins, separated by ':'.
inline constexpr const char* pathVariable = "KELVO_PLUGIN_PATH";

/// Directories to search for plug-ins and their definitions, in order.
using SearchPath = std::vector<std::filesystem::path>;

/// Splits a text like that of the variable into directories; skips empty ones.
[[nodiscard]] SearchPath directoriesOf(std::string_view text);

/// Returns the directories of the environment variable.
[[nodiscard]] SearchPath directoriesOfEnvironment();

/// Returns the name of a plug-in from its file: "springs" for "libsprings.so" and "springs.so.2".
[[nodiscard]] std::string pluginName(const std::filesystem::path& file);

/// Returns the first existing file of that name, empty when there is none.
[[nodiscard]] std::filesystem::path findFile(const SearchPath& path, const std::string& name);

/// Returns the first plug-in of that name: "springs.so" or "libsprings.so" for "springs".
[[nodiscard]] std::filesystem::path findPlugin(const SearchPath& path, const std::string& name);

/// Returns the plug-ins in a directory, by file name: the shared objects with a definition file of
/// the same name beside them. Skips others, such as the libraries that plug-ins need.
[[nodiscard]] std::vector<std::filesystem::path> pluginsIn(const std::filesystem::path& directory);

} // namespace qv::kelvo_plugins
