#include "base/log.h"

#include "base/string.h"
#include "base/string_io.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>

namespace qv {

namespace {

// Never destroyed: objects with static storage may log when they die.
struct Logger {
    std::mutex mutex;
    LogSink sink;

    static Logger& instance() {
        static Logger& logger = *new Logger;
        return logger;
    }
};

// The whole line in one piece, so that lines of several threads or processes do not mix.
void writeToStandardError(LogLevel level, const char* message) {
    StringIO line;
    line.append(level == LogLevel::Error ? "error: " : "warning: ").append(message).append('\n');
    std::fwrite(line.buf(), 1, line.size(), stderr);
}

void deliver(LogLevel level, const char* message) {
    LogSink sink;
    {
        Logger& logger = Logger::instance();
        const std::lock_guard lock(logger.mutex);
        sink = logger.sink;
    }
    if (sink.handler)
        sink.handler(level, message, sink.user);
    else
        writeToStandardError(level, message);
}

// A name or the text of an exception may hold line breaks; a message is one line.
void joinLines(char* text, u64 size) noexcept {
    std::replace_if(
        text, text + size, [](char c) { return c == '\n' || c == '\r'; }, ' ');
}

[[gnu::format(printf, 2, 0)]] void deliverLong(LogLevel level, const char* fmt, va_list args,
                                               const char* truncated) {
    std::string message;
    try {
        message = String::vformat(fmt, args).view();
    } catch (const std::bad_alloc&) {
        return deliver(level, truncated);
    }
    joinLines(message.data(), message.size());
    deliver(level, message.c_str());
}

[[gnu::format(printf, 2, 0)]] void logMessage(LogLevel level, const char* fmt, va_list args) {
    char message[512];
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(message, sizeof message, fmt, args);
    if (length < 0) {
        deliver(level, fmt); // text that the format cannot take: better raw than lost
    } else if (static_cast<u64>(length) < sizeof message) {
        joinLines(message, static_cast<u64>(length));
        deliver(level, message);
    } else {
        deliverLong(level, fmt, again, message);
    }
    va_end(again);
}

} // namespace

LogSink setLogHandler(LogHandler handler, void* user) {
    Logger& logger = Logger::instance();
    const std::lock_guard lock(logger.mutex);
    const LogSink previous = logger.sink;
    logger.sink = {handler, handler ? user : nullptr};
    return previous;
}

void logError(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    logMessage(LogLevel::Error, fmt, args);
    va_end(args);
}

void logWarning(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    logMessage(LogLevel::Warning, fmt, args);
    va_end(args);
}

} // namespace qv
