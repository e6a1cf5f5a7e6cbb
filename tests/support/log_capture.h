#pragma once

#include "kelvo/base/log.h"

#include <mutex>
#include <string>

namespace qv::tests {

/// Collects the log messages of its lifetime, one line each: "error: ...\n", "warning: ...\n".
class LogCapture {
public:
    LogCapture() : m_previous(setLogHandler(&LogCapture::take, this)) {}
    ~LogCapture() { setLogHandler(m_previous.handler, m_previous.user); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] std::string text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

private:
    static void take(LogLevel level, const char* message, void* user) {
        auto* self = static_cast<LogCapture*>(user);
        const std::lock_guard lock(self->m_mutex);
        self->m_text += level == LogLevel::Error ? "error: " : "warning: ";
        self->m_text += message;
        self->m_text += '\n';
    }

    mutable std::mutex m_mutex;
    std::string m_text;
    LogSink m_previous;
};

} // namespace qv::tests
