#pragma once

#include "kelvo/sdk/snapshot.h"

namespace qv::kelvo_tool {

/// Tells whether a scene of that name is written in the binary form.
[[nodiscard]] bool isBinaryName(const String& file) noexcept;

/// Returns the text of a scene in the binary form. False, with a sentence in `error`, when any part
/// of it is damaged.
[[nodiscard]] bool textOfBinary(const String& file, const String& bytes, String& text,
                                String& error);

/// Returns the binary form of a text. Libraries in use supply the types of a text that needs them.
/// False, with a sentence in `error`, when the text cannot be read.
[[nodiscard]] bool binaryOfText(const String& file, std::string_view text, bool isCompressed,
                                String& bytes, String& error);

} // namespace qv::kelvo_tool
