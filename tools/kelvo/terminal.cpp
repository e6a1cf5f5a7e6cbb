#include "tools/kelvo/terminal.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/progress_line.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

constexpr u64 pieceSize = 1 << 16;

bool isControl(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace

// ---- Text ------------------------------------------------------------------------------

TerminalText& TerminalText::write(std::string_view text) {
    if (!m_look.isTerminal()) {
        m_text.append(text);
    } else {
        for (std::size_t end = text.find('\n'); end != std::string_view::npos;
             end = text.find('\n')) {
            addPiece(Tone::Plain, text.substr(0, end));
            closeLine();
            m_text.append('\n');
            text.remove_prefix(end + 1);
        }
        addPiece(Tone::Plain, text);
    }
    grown();
    return *this;
}

TerminalText& TerminalText::write(Tone tone, std::string_view text) {
    std::string harmless;
    if (std::ranges::any_of(text, isControl)) {
        harmless = text;
        std::ranges::replace_if(harmless, isControl, '?');
        text = harmless;
    }
    if (!m_look.isTerminal()) return write(text);
    addPiece(tone, text);
    return *this;
}

TerminalText& TerminalText::writeUInt(u64 value) {
    return write(std::to_string(value));
}

TerminalText& TerminalText::writeData(std::string_view text) {
    closeLine();
    m_text.append(text);
    grown();
    return *this;
}

void TerminalText::addPiece(Tone tone, std::string_view text) {
    if (text.empty()) return;
    if (!m_line.empty() && m_line.back().tone == tone)
        m_line.back().text += text;
    else
        m_line.push_back({tone, std::string(text)});
}

void TerminalText::closeLine() {
    if (!m_line.empty()) appendFitted(m_text, std::exchange(m_line, {}), m_look);
}

// ---- Standard output -------------------------------------------------------------------

Terminal::Terminal() : TerminalText(lookOf(STDOUT_FILENO)) {}

void Terminal::grown() {
    if (text().size() >= pieceSize) writeOut();
}

void Terminal::writeOut() {
    if (look().isTerminal()) ProgressLine::hide();
    if (!m_closed && !writeAll(STDOUT_FILENO, text().view())) {
        m_closed = true;
        if (errno != EPIPE) m_reason = errno;
    }
    text().clear();
}

bool Terminal::flush(String& error) {
    closeLine();
    writeOut();
    if (m_reason == 0) return true;
    error = "cannot write standard output: " +
            String(std::string_view(std::generic_category().message(m_reason)));
    return false;
}

} // namespace qv::kelvo_tool
