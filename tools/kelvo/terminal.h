#pragma once

#include "base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

/// What a piece of output is, which decides its colour.
enum class Tone { Plain, Name, Kind, Value, Note };

/// The standard output, gathered and written in large pieces.
///
/// Colours are used on a terminal alone, unless NO_COLOR is set to something or TERM is "dumb".
/// When whoever reads goes away (a broken pipe), what follows is dropped without a word and the
/// run goes on: that is no error.
class Terminal {
public:
    Terminal();
    ~Terminal() = default;
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    Terminal& write(std::string_view text);
    /// Writes in a colour; what a terminal would take for a command becomes '?'.
    Terminal& write(Tone tone, std::string_view text);
    Terminal& writeUInt(u64 value);
    /// Ends a line.
    Terminal& endLine() { return write("\n"); }

    /// Tells whether nobody reads any more, so that a long output may stop.
    [[nodiscard]] bool isClosed() const noexcept { return m_closed; }
    /// Writes out what is left; false, with the reason in `error`, when something got lost.
    [[nodiscard]] bool flush(String& error);

private:
    void writeOut();

    StringIO m_text;
    bool m_colored;
    bool m_closed = false;
    int m_reason = 0;
};

/// Tells whether the standard error stream is a terminal, fit for a line that changes.
[[nodiscard]] bool errorsOnTerminal();

} // namespace qv::kelvo_tool
