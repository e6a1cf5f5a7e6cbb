#pragma once

#include "kelvo/base/string.h"

#include <filesystem>

namespace qv::kelvo_plugins {

/// Bytes above which a file is taken for something else than definitions.
inline constexpr std::uintmax_t definitionFileLimit = std::uintmax_t{64} << 20;

/// Reads a definition file. False with the reason in `error`, which names the file.
[[nodiscard]] bool readDefinitionFile(const std::filesystem::path& file, String& text,
                                      String& error);

} // namespace qv::kelvo_plugins
