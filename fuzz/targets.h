#pragma once

#include <span>
#include <string_view>

namespace qv::fuzz {

/// A part of the library that is given any bytes. What it makes of them is held to its laws; one
/// that does not hold ends the process.
struct Target {
    const char* name;
    void (*run)(std::string_view input);
};

/// All of them; seeds and regressions of each lie in the folders of its name.
[[nodiscard]] std::span<const Target> targets();
/// Returns null for an unknown name.
[[nodiscard]] const Target* findTarget(std::string_view name);

/// Ends the process, and says which law it is, where one does not hold.
void require(bool holds, const char* law);

void runSceneText(std::string_view input);
void runDefinitionText(std::string_view input);
void runPatch(std::string_view input);
void runMerge(std::string_view input);
void runPath(std::string_view input);
void runEditScript(std::string_view input);
void runIcon(std::string_view input);

} // namespace qv::fuzz
