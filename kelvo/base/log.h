#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

namespace qv {

enum class LogLevel : u32 { Warning, Error };

/// Receives one message without newline, valid during the call. Several threads may log at once.
/// The handler may log itself, because no lock of the logger is held while it runs.
using LogHandler = void (*)(LogLevel level, const char* message, void* user);

struct LogSink {
    LogHandler handler = nullptr;
    void* user = nullptr;
};

/// Sends messages to `handler` with `user`, and returns the previous sink; null restores the
/// default: "error: ..." or "warning: ..." as one line on the standard error stream.
/// A message already on its way on another thread may still reach the old handler.
QV_EXPORT LogSink setLogHandler(LogHandler handler, void* user = nullptr);

/// Reports in printf style, with any length of message: one whole sentence, no newline.
[[gnu::format(printf, 1, 2)]] QV_EXPORT void logError(const char* fmt, ...);
[[gnu::format(printf, 1, 2)]] QV_EXPORT void logWarning(const char* fmt, ...);

} // namespace qv
