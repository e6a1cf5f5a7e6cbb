#include "kelvo/base/log.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace qv;

namespace {

// Collects the messages of its lifetime.
class Recorder {
public:
    Recorder() : m_previous(setLogHandler(&Recorder::receive, this)) {}
    ~Recorder() { setLogHandler(m_previous.handler, m_previous.user); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    std::vector<std::pair<LogLevel, std::string>> lines;

private:
    static void receive(LogLevel level, const char* message, void* user) {
        auto& self = *static_cast<Recorder*>(user);
        const std::lock_guard lock(self.m_mutex);
        self.lines.emplace_back(level, message);
    }

    std::mutex m_mutex;
    LogSink m_previous;
};

} // namespace

TEST(Log, LineBreaksInWhatAMessageNames_BecomeBlanks) {
    const Recorder recorder;
    logError("Cannot use '%s'.", "a\nb\r");
    logWarning("Cannot use '%s'.", (std::string(600, 'x') + "\ny").c_str());
    ASSERT_EQ(recorder.lines.size(), 2u);
    EXPECT_EQ(recorder.lines[0].second, "Cannot use 'a b '.");
    EXPECT_EQ(recorder.lines[1].second, "Cannot use '" + std::string(600, 'x') + " y'.");
}

TEST(Log, Messages_ReachTheHandlerFormatted) {
    const Recorder recorder;
    logError("Input '%s' not found in '%s' node '%s'.", "a", "b", "c");
    logWarning("Count is %d.", 3);
    ASSERT_EQ(recorder.lines.size(), 2u);
    EXPECT_EQ(recorder.lines[0].first, LogLevel::Error);
    EXPECT_EQ(recorder.lines[0].second, "Input 'a' not found in 'b' node 'c'.");
    EXPECT_EQ(recorder.lines[1].first, LogLevel::Warning);
    EXPECT_EQ(recorder.lines[1].second, "Count is 3.");
}

// The locale of the tests has no such letter.
TEST(Log, MessageThatCannotBeFormatted_ShowsItsFormat) {
    const Recorder recorder;
    logError("Cannot use '%ls'.", L"\u20ac");
    ASSERT_EQ(recorder.lines.size(), 1u);
    EXPECT_EQ(recorder.lines[0].second, "Cannot use '%ls'.");
}

TEST(Log, EmptyMessage_IsDelivered) {
    const Recorder recorder;
    logError("%s", "");
    ASSERT_EQ(recorder.lines.size(), 1u);
    EXPECT_EQ(recorder.lines[0].second, "");
}

TEST(Log, MessageOfAnyLength_IsComplete) {
    const Recorder recorder;
    for (const std::size_t length :
         {std::size_t{510}, std::size_t{511}, std::size_t{512}, std::size_t{100000}}) {
        const std::string text(length, 'x');
        logError("%s.", text.c_str());
        EXPECT_EQ(recorder.lines.back().second, text + '.');
    }
}

TEST(Log, SetHandler_ReturnsWhatItReplaces) {
    int user = 0;
    const LogHandler handler = [](LogLevel, const char*, void*) {};
    const LogSink first = setLogHandler(handler, &user);
    const LogSink second = setLogHandler(first.handler, first.user);
    EXPECT_EQ(second.handler, handler);
    EXPECT_EQ(second.user, &user);
}

TEST(Log, ByDefault_WritesALineToStandardError) {
    const LogSink previous = setLogHandler(nullptr);
    testing::internal::CaptureStderr();
    logError("One '%s'.", "x");
    logWarning("Two.");
    const std::string written = testing::internal::GetCapturedStderr();
    setLogHandler(previous.handler, previous.user);
    EXPECT_EQ(written, "error: One 'x'.\nwarning: Two.\n");
}

TEST(Log, HandlerThatLogs_DoesNotDeadlock) {
    struct Echo {
        std::vector<std::string> lines;
        static void receive(LogLevel, const char* message, void* user) {
            auto& self = *static_cast<Echo*>(user);
            self.lines.emplace_back(message);
            if (self.lines.size() == 1) logWarning("again");
        }
    } echo;
    const LogSink previous = setLogHandler(&Echo::receive, &echo);
    logError("first");
    setLogHandler(previous.handler, previous.user);
    EXPECT_EQ(echo.lines, (std::vector<std::string>{"first", "again"}));
}

TEST(Log, HandlerThatThrows_ReachesTheCaller) {
    const LogSink previous =
        setLogHandler([](LogLevel, const char*, void*) { throw std::string("thrown"); });
    EXPECT_THROW(logError("x"), std::string);
    setLogHandler(previous.handler, previous.user);
}

TEST(Log, SeveralThreads_LoseNoMessage) {
    const Recorder recorder;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 250; ++i)
                logWarning("Message %d.", i);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(recorder.lines.size(), 1000u);
}
