#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/fitted_line.h"
#include "tools/kelvo/stream_look.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_tool {

/// Text for the standard output that stays in memory until a terminal takes it. On a terminal, uses
/// colours and fits lines to its width (see `appendFitted`). Files and other programs get whole
/// lines.
class TerminalText {
public:
    explicit TerminalText(const StreamLook& look) : m_look(look) {}
    virtual ~TerminalText() = default;
    TerminalText(const TerminalText&) = delete;
    TerminalText& operator=(const TerminalText&) = delete;

    /// Writes a part of a line, or several lines, for people to read.
    TerminalText& write(std::string_view text);
    /// Writes in a colour; characters that a terminal could take for a command become '?'.
    TerminalText& write(Tone tone, std::string_view text);
    TerminalText& writeUInt(u64 value);
    /// Ends a line.
    TerminalText& endLine() { return write("\n"); }
    /// Writes data for programs unchanged: a value, scene text, JSON.
    TerminalText& writeData(std::string_view text);
    /// Writes lines that were made apart, by another thread for example.
    TerminalText& write(const TerminalText& lines) { return writeData(lines.m_text.view()); }

    [[nodiscard]] const StreamLook& look() const noexcept { return m_look; }
    /// Returns the columns of a line on a terminal, else 0.
    [[nodiscard]] u64 width() const noexcept { return m_look.width; }

protected:
    void closeLine();
    /// Takes what was written so far.
    [[nodiscard]] StringIO& text() noexcept { return m_text; }

private:
    /// Is called after text was added.
    virtual void grown() {}
    void addPiece(Tone tone, std::string_view text);

    StringIO m_text;
    StreamLook m_look;
    // The pieces of the unfinished line; used on a terminal alone.
    std::vector<LinePiece> m_line;
};

/// Buffered writing to the standard output. When the reader closes the pipe, drops further output
/// silently and lets the command go on: that is no error.
class Terminal final : public TerminalText {
public:
    Terminal();

    /// Tells whether the reader is gone, so that a long output may stop.
    [[nodiscard]] bool isClosed() const noexcept { return m_closed; }
    /// Writes the rest of the buffer; false, with the reason in `error`, when output was lost.
    [[nodiscard]] bool flush(String& error);

private:
    void grown() override;
    void writeOut();

    bool m_closed = false;
    int m_reason = 0;
};

} // namespace qv::kelvo_tool
