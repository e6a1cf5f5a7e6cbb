#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/fitted_line.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_tool {

/// The standard output, gathered and written in large pieces.
///
/// On a terminal there are colours, and lines fit its width (see `appendFitted`). Files and other
/// programs get every line whole. When whoever reads goes away (a broken pipe), what follows is
/// dropped without a word and the run goes on: that is no error.
class Terminal {
public:
    Terminal();
    ~Terminal() = default;
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Writes a part of a line, or lines, for people to read.
    Terminal& write(std::string_view text);
    /// Writes in a colour; what a terminal would take for a command becomes '?'.
    Terminal& write(Tone tone, std::string_view text);
    Terminal& writeUInt(u64 value);
    /// Ends a line.
    Terminal& endLine() { return write("\n"); }
    /// Writes what is copied or read by programs, as it is: a value, scene text, JSON.
    Terminal& writeData(std::string_view text);

    /// Returns the columns of a line on a terminal, else 0.
    [[nodiscard]] u64 width() const noexcept { return m_look.width; }
    /// Tells whether nobody reads any more, so that a long output may stop.
    [[nodiscard]] bool isClosed() const noexcept { return m_closed; }
    /// Writes out what is left; false, with the reason in `error`, when something got lost.
    [[nodiscard]] bool flush(String& error);

private:
    void addPiece(Tone tone, std::string_view text);
    void closeLine();
    void writeOut();

    StringIO m_text;
    StreamLook m_look;
    // Of the line that has no end yet; on a terminal alone.
    std::vector<LinePiece> m_line;
    bool m_closed = false;
    int m_reason = 0;
};

} // namespace qv::kelvo_tool
