#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/fitted_line.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_tool {

/// Buffered writing to the standard output.
///
/// On a terminal, uses colours and fits lines to its width (see `appendFitted`). Files and other
/// programs get whole lines. When the reader closes the pipe, drops further output silently and
/// lets the command go on: that is no error.
class Terminal {
public:
    Terminal();
    ~Terminal() = default;
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Writes a part of a line, or several lines, for people to read.
    Terminal& write(std::string_view text);
    /// Writes in a colour; characters that a terminal could take for a command become '?'.
    Terminal& write(Tone tone, std::string_view text);
    Terminal& writeUInt(u64 value);
    /// Ends a line.
    Terminal& endLine() { return write("\n"); }
    /// Writes data for programs unchanged: a value, scene text, JSON.
    Terminal& writeData(std::string_view text);

    /// Returns the columns of a line on a terminal, else 0.
    [[nodiscard]] u64 width() const noexcept { return m_look.width; }
    /// Tells whether the reader is gone, so that a long output may stop.
    [[nodiscard]] bool isClosed() const noexcept { return m_closed; }
    /// Writes the rest of the buffer; false, with the reason in `error`, when output was lost.
    [[nodiscard]] bool flush(String& error);

private:
    void addPiece(Tone tone, std::string_view text);
    void closeLine();
    void writeOut();

    StringIO m_text;
    StreamLook m_look;
    // The pieces of the unfinished line; used on a terminal alone.
    std::vector<LinePiece> m_line;
    bool m_closed = false;
    int m_reason = 0;
};

} // namespace qv::kelvo_tool
