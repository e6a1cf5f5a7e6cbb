#pragma once

#include "kelvo/sdk/result.h"

#include <filesystem>

namespace qv::kelvo_plugins {

/// Larger files, in bytes, are refused: they are hardly definitions.
inline constexpr std::uintmax_t definitionFileLimit = std::uintmax_t{64} << 20;

/// Reads a definition file. The reason of a failure includes the file's name.
kelvo_sdk::Result readDefinitionFile(const std::filesystem::path& file, String& text);

} // namespace qv::kelvo_plugins
