#include "tools/kelvo/terminal.h"

#include "tools/kelvo/files.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

constexpr u64 pieceSize = 1 << 16;

bool wantsColor() {
    if (::isatty(STDOUT_FILENO) == 0) return false;
    const char* noColor = std::getenv("NO_COLOR");
    if (noColor && *noColor != '\0') return false;
    const char* kind = std::getenv("TERM");
    return !kind || std::string_view(kind) != "dumb";
}

std::string_view startOf(Tone tone) {
    switch (tone) {
    case Tone::Name:
        return "\x1b[1m";
    case Tone::Kind:
        return "\x1b[36m";
    case Tone::Value:
        return "\x1b[32m";
    case Tone::Note:
        return "\x1b[2m";
    default:
        return {};
    }
}

void appendHarmless(std::string_view text, StringIO& out) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        out.append(byte < 0x20 || byte == 0x7f ? '?' : c);
    }
}

} // namespace

Terminal::Terminal() : m_colored(wantsColor()) {}

Terminal& Terminal::write(std::string_view text) {
    if (m_closed) return *this;
    m_text.append(text);
    if (m_text.size() >= pieceSize) writeOut();
    return *this;
}

Terminal& Terminal::write(Tone tone, std::string_view text) {
    if (m_closed) return *this;
    const std::string_view start = m_colored ? startOf(tone) : std::string_view();
    m_text.append(start);
    appendHarmless(text, m_text);
    if (!start.empty()) m_text.append("\x1b[0m");
    if (m_text.size() >= pieceSize) writeOut();
    return *this;
}

Terminal& Terminal::writeUInt(u64 value) {
    return write(std::to_string(value));
}

void Terminal::writeOut() {
    if (!m_closed && !writeAll(STDOUT_FILENO, m_text.view())) {
        m_closed = true;
        if (errno != EPIPE) m_reason = errno;
    }
    m_text.clear();
}

bool Terminal::flush(String& error) {
    writeOut();
    if (m_reason == 0) return true;
    error = "cannot write standard output: " +
            String(std::string_view(std::generic_category().message(m_reason)));
    return false;
}

bool errorsOnTerminal() {
    return ::isatty(STDERR_FILENO) != 0;
}

} // namespace qv::kelvo_tool
