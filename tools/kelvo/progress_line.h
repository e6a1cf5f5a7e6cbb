#pragma once

#include "kelvo/base/string.h"

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>

namespace qv::kelvo_tool {

/// A line on the standard error stream that tells of a long work: how far it is, or, while nobody
/// knows, for how long it goes on. Appears on a terminal alone, and only when the work takes long;
/// vanishes with the object. One at a time.
class ProgressLine {
public:
    explicit ProgressLine(const String& doing);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Tells how far the work is, from 0 to 1; may be called as often as one likes.
    void show(double done) noexcept;

    /// Takes the line away until it is due again, as something is written to the terminal.
    static void hide();
    /// Writes to the standard error stream, where the line stood.
    static void writeErrors(std::string_view text);

private:
    using Clock = std::chrono::steady_clock;

    void start();
    void run(const std::stop_token& stop) const noexcept;
    void draw() const;

    std::string m_doing;
    Clock::time_point m_start;
    // Negative while nobody knows.
    std::atomic<int> m_percent{-1};
    std::jthread m_painter;
};

} // namespace qv::kelvo_tool
