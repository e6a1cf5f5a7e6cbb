#pragma once

#include "kelvo/base/string.h"

#include <filesystem>

namespace qv::kelvo_plugins {

/// Larger files, in bytes, are refused: they are hardly definitions.
inline constexpr std::uintmax_t definitionFileLimit = std::uintmax_t{64} << 20;

/// Reads a definition file. False with the reason in `error`, which includes the file's name.
[[nodiscard]] bool readDefinitionFile(const std::filesystem::path& file, String& text,
                                      String& error);

} // namespace qv::kelvo_plugins
