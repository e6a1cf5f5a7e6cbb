#pragma once

#include <span>
#include <string_view>

namespace qv::fuzz {

/// Runs one part of the library on any bytes and checks its laws; a broken law ends the process.
struct Target {
    const char* name;
    void (*run)(std::string_view input);
};

/// Returns all targets; the folders of their names hold their seeds and regressions.
[[nodiscard]] std::span<const Target> targets();
/// Returns null for an unknown name.
[[nodiscard]] const Target* findTarget(std::string_view name);

/// Ends the process with the name of the law unless it holds.
void require(bool holds, const char* law);

void runSceneText(std::string_view input);
void runDefinitionText(std::string_view input);
void runPatch(std::string_view input);
void runMerge(std::string_view input);
void runPath(std::string_view input);
void runEditScript(std::string_view input);
void runIcon(std::string_view input);
void runStoredScene(std::string_view input);

} // namespace qv::fuzz
