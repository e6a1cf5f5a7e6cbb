#include "tools/kelvo/progress_line.h"

#include "tools/kelvo/stream_look.h"
#include "tools/kelvo/text_columns.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <utility>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

constexpr std::chrono::milliseconds patience{500};
constexpr std::chrono::milliseconds pause{250};
constexpr std::string_view erasure = "\r\x1b[K";

std::mutex s_mutex;
bool s_isShown = false;

void put(std::string_view text) {
    (void)std::fwrite(text.data(), 1, text.size(), stderr);
    (void)std::fflush(stderr);
}

void erase() {
    if (std::exchange(s_isShown, false)) put(erasure);
}

/// Blocks signals for a thread started meanwhile: the working thread has to receive them.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

} // namespace

ProgressLine::ProgressLine(const String& doing) : m_doing(doing.view()), m_start(Clock::now()) {
    if (errorsOnTerminal()) start();
}

void ProgressLine::start() {
    const SignalsBlocked blocked;
    try {
        m_painter = std::jthread([this](const std::stop_token& stop) { run(stop); });
    } catch (const std::exception&) {
        // If the thread cannot start, the work goes on without a progress line.
    }
}

ProgressLine::~ProgressLine() {
    m_painter = {};
    hide();
}

void ProgressLine::show(double done) noexcept {
    m_percent = static_cast<int>(100.0 * std::clamp(done, 0.0, 1.0));
}

void ProgressLine::run(const std::stop_token& stop) const noexcept {
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_lock lock(mutex);
    const auto isOver = [&stop] { return stop.stop_requested(); };
    for (auto wait = patience; !wake.wait_for(lock, stop, wait, isOver); wait = pause)
        draw();
}

// Formats on the stack, as memory may have run out.
void ProgressLine::draw() const {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_start).count();
    const int percent = m_percent;
    std::array<char, 32> end{};
    if (percent >= 0)
        (void)std::snprintf(end.data(), end.size(), ": %d %%", percent);
    else
        (void)std::snprintf(end.data(), end.size(), " ... %lld s", static_cast<long long>(seconds));
    // A line that wraps could not be erased.
    const u64 room = lookOf(STDERR_FILENO).width - 1 - std::string_view(end.data()).size();
    const std::lock_guard lock(s_mutex);
    s_isShown = true;
    put(erasure);
    put(std::string_view(m_doing).substr(0, bytesWithin(m_doing, room)));
    put(end.data());
}

void ProgressLine::hide() {
    const std::lock_guard lock(s_mutex);
    erase();
}

void ProgressLine::writeErrors(std::string_view text) {
    const std::lock_guard lock(s_mutex);
    erase();
    put(text);
}

} // namespace qv::kelvo_tool
