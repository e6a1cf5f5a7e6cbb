#pragma once

#include "kelvo/base/string.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Tells whether a file argument means the standard input or output.
[[nodiscard]] inline bool isStream(const String& path) {
    return path == "-";
}

/// Returns the name of a file argument for messages.
[[nodiscard]] String displayed(const String& path);

/// Tells whether a file exists at a path relative to the folder of another file, or to the current
/// folder for "-".
[[nodiscard]] bool isFileBeside(const String& file, const String& path);

/// Reads a whole file, the standard input for "-". False with a sentence in `error`.
[[nodiscard]] bool readFile(const String& path, String& text, String& error);

/// Replaces a file in one step: concurrent readers get the old or the new text, and on failure, or
/// when the command is killed, the old text stays. Keeps permissions and follows symbolic links;
/// writes directly to anything other than a plain file, such as a device. Not for "-". False with a
/// sentence in `error`. `TextFile` writes files that were read for editing.
[[nodiscard]] bool writeFile(const String& path, std::string_view text, String& error);

/// Writes a whole text to a descriptor; false with the reason in `errno`.
[[nodiscard]] bool writeAll(int descriptor, std::string_view text) noexcept;

} // namespace qv::kelvo_tool
