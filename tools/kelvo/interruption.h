#pragma once

#include <stop_token>
#include <thread>

#include <csignal>
#include <ctime>

namespace qv::kelvo_tool {

/// Turns the signals of an interruption into a request to stop, as long as the object lives. A
/// second signal ends the process as usual.
class Interruption {
public:
    Interruption() {
        ::sigemptyset(&m_signals);
        ::sigaddset(&m_signals, SIGINT);
        ::sigaddset(&m_signals, SIGTERM);
        // Threads that start later inherit this, so that only the watcher gets the signals.
        ::pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
        m_watcher = std::jthread([this](const std::stop_token& end) { watch(end); });
    }
    ~Interruption() {
        m_watcher.request_stop();
        m_watcher.join();
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    [[nodiscard]] std::stop_token token() const { return m_stop.get_token(); }

private:
    void watch(const std::stop_token& end) {
        constexpr timespec atMost{0, 5000000};
        while (!end.stop_requested()) {
            if (::sigtimedwait(&m_signals, nullptr, &atMost) < 0) continue;
            m_stop.request_stop();
            ::pthread_sigmask(SIG_UNBLOCK, &m_signals, nullptr);
            return;
        }
    }

    sigset_t m_signals{};
    sigset_t m_before{};
    std::stop_source m_stop;
    std::jthread m_watcher;
};

} // namespace qv::kelvo_tool
