#pragma once

#include "tools/kelvo/file_lock.h"

#include <string_view>

namespace qv::kelvo_tool {

/// A text file that keeps its layout when written back: its byte order mark, if any, and the line
/// ends of most of its lines. A scene in the binary form is read and written as the text that it
/// stands for.
class TextFile {
public:
    /// Reads a file, the standard input for "-". False with a sentence in `error`.
    [[nodiscard]] bool read(const String& path, String& error);
    /// Reads a file and locks it against other commands' edits until it is written or this is
    /// destroyed.
    [[nodiscard]] bool readToEdit(const String& path, String& error);

    /// Reads the bytes of a file alone, the standard input for "-". False with a sentence in
    /// `error`.
    [[nodiscard]] bool readBytes(const String& path, String& error);
    [[nodiscard]] bool isBinary() const noexcept { return m_isBinary; }
    [[nodiscard]] const String& bytes() const noexcept { return m_bytes; }
    /// Makes the text of the bytes. False with a sentence in `error`.
    [[nodiscard]] bool makeText(String& error);

    /// Returns the text without byte order mark; lines end with '\n'.
    [[nodiscard]] const String& text() const noexcept { return m_text; }
    /// Forgets bytes and text, which are of no use any more; for files that are not written.
    void forget() noexcept;

    /// Returns another text in the layout of the file.
    [[nodiscard]] String laidOut(std::string_view text) const;

    /// Replaces a file by a text in the layout of the file that was read. Refuses to replace that
    /// file itself if it has changed meanwhile. False with a sentence in `error`.
    [[nodiscard]] bool write(const String& path, std::string_view text, String& error);

private:
    [[nodiscard]] bool bytesFor(const String& path, std::string_view text, String& bytes,
                                String& error) const;
    [[nodiscard]] bool isOwn(const String& path) const;
    [[nodiscard]] bool isAsRead(String& error) const;

    String m_path;
    // The bytes of the file as read.
    String m_bytes;
    String m_text;
    bool m_hasMark = false;
    bool m_hasReturns = false;
    bool m_isBinary = false;
    FileLock m_lock;
};

} // namespace qv::kelvo_tool
