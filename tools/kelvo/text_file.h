#pragma once

#include "tools/kelvo/file_lock.h"

#include <string_view>

namespace qv::kelvo_tool {

/// A file of text that is read, and written back as it was laid out: with a byte order mark when it
/// had one, and with the line ends that most of its lines had.
class TextFile {
public:
    /// Reads a file, the standard input for "-". False with a sentence in `error`.
    [[nodiscard]] bool read(const String& path, String& error);
    /// The same, and no other command edits the file until it is written or this ends.
    [[nodiscard]] bool readToEdit(const String& path, String& error);

    /// Returns the text without mark; lines end with '\n'.
    [[nodiscard]] const String& text() const noexcept { return m_text; }
    /// Returns another text as it is laid out in the file.
    [[nodiscard]] String laidOut(std::string_view text) const;

    /// Replaces a file by a text, laid out as that which was read. The file that was read is only
    /// replaced if it still is as it was. False with a sentence in `error`.
    [[nodiscard]] bool write(const String& path, std::string_view text, String& error);

private:
    [[nodiscard]] bool isOwn(const String& path) const;
    [[nodiscard]] bool isAsRead(String& error) const;

    String m_path;
    // As they were in the file.
    String m_bytes;
    String m_text;
    bool m_hasMark = false;
    bool m_hasReturns = false;
    FileLock m_lock;
};

} // namespace qv::kelvo_tool
