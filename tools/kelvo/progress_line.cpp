#include "tools/kelvo/progress_line.h"

#include "tools/kelvo/terminal.h"

#include <algorithm>
#include <cstdio>

namespace qv::kelvo_tool {

namespace {

constexpr std::chrono::milliseconds patience{500};
constexpr std::chrono::milliseconds pause{100};

} // namespace

ProgressLine::ProgressLine(String doing)
    : m_doing(std::move(doing)), m_next(Clock::now() + patience), m_isWanted(errorsOnTerminal()) {}

ProgressLine::~ProgressLine() {
    if (m_isShown) std::fputs("\r\x1b[K", stderr);
}

void ProgressLine::show(double done) {
    if (!m_isWanted || Clock::now() < m_next) return;
    m_next = Clock::now() + pause;
    m_isShown = true;
    const int percent = static_cast<int>(100.0 * std::clamp(done, 0.0, 1.0));
    std::fprintf(stderr, "\r\x1b[K%s: %d %%", m_doing.buf(), percent);
    std::fflush(stderr);
}

} // namespace qv::kelvo_tool
