#pragma once

#include "base/string.h"

#include <chrono>

namespace qv::kelvo_tool {

/// A line on the standard error stream that tells how far a long work is. Appears on a terminal
/// alone, and only when the work takes long; vanishes with the object.
class ProgressLine {
public:
    explicit ProgressLine(String doing);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Tells how far the work is, from 0 to 1; may be called as often as one likes.
    void show(double done);

private:
    using Clock = std::chrono::steady_clock;

    String m_doing;
    Clock::time_point m_next;
    bool m_isWanted;
    bool m_isShown = false;
};

} // namespace qv::kelvo_tool
