#pragma once

#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Tells whether a file argument stands for the standard streams.
[[nodiscard]] inline bool isStream(const String& path) {
    return path == "-";
}

/// Returns what messages call a file argument.
[[nodiscard]] String displayed(const String& path);

/// Tells whether there is a file at a path that counts from the folder of another one, or from the
/// current folder for "-".
[[nodiscard]] bool isFileBeside(const String& file, const String& path);

/// Reads a whole file, the standard input for "-". False with a sentence in `error`.
[[nodiscard]] bool readFile(const String& path, String& text, String& error);

/// Replaces a file as a whole: whoever reads it meanwhile gets the old text or the new one, and on
/// failure, or when the command is killed, the old one stays. Permissions are kept, symbolic links
/// followed; what is no plain file, such as a device, is written to. Not for "-". False with a
/// sentence in `error`. Files that were read, to be edited, are written by `TextFile`.
[[nodiscard]] bool writeFile(const String& path, std::string_view text, String& error);

/// Writes all of a text to a descriptor; false with the reason in `errno`.
[[nodiscard]] bool writeAll(int descriptor, std::string_view text) noexcept;

} // namespace qv::kelvo_tool
