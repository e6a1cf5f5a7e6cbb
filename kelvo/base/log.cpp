#include "kelvo/base/log.h"

#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>

namespace qv {

namespace {

// Never destroyed: objects with static storage may log in their destructors.
struct Logger {
    std::mutex mutex;
    LogSink sink;

    // Allocates nothing, because the first message may report that memory is out.
    static Logger& instance() {
        alignas(Logger) static std::byte place[sizeof(Logger)];
        static Logger& logger = *::new (place) Logger;
        return logger;
    }
};

// Writes the whole line at once, so that lines of several threads or processes do not mix. Without
// memory for the line, writes it in pieces.
void writeToStandardError(LogLevel level, const char* message) {
    const char* start = level == LogLevel::Error ? "error: " : "warning: ";
    try {
        StringIO line;
        line.append(start).append(message).append('\n');
        std::fwrite(line.buf(), 1, line.size(), stderr);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "%s%s\n", start, message);
    }
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

// Names or texts of exceptions may contain line breaks, but a message is one line.
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
        deliver(level, fmt); // a format that fails is better shown raw than lost
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
