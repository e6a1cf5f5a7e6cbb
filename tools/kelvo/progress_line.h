#pragma once

#include "kelvo/base/string.h"

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>

namespace qv::kelvo_tool {

/// A progress line on the standard error stream: the percentage or, while that is unknown, the
/// seconds so far. Appears only on a terminal and only when the work takes long; vanishes with the
/// object. Only one may exist at a time.
class ProgressLine {
public:
    explicit ProgressLine(const String& doing);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Sets the progress, from 0 to 1; cheap enough to call often.
    void show(double done) noexcept;

    /// Erases the line until its next update, before other output to the terminal.
    static void hide();
    /// Erases the line and writes to the standard error stream.
    static void writeErrors(std::string_view text);

private:
    using Clock = std::chrono::steady_clock;

    void start();
    void run(const std::stop_token& stop) const noexcept;
    void draw() const;

    std::string m_doing;
    Clock::time_point m_start;
    // Negative while unknown.
    std::atomic<int> m_percent{-1};
    std::jthread m_painter;
};

} // namespace qv::kelvo_tool
