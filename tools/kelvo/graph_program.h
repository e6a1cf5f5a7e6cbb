#pragma once

#include "kelvo/base/string.h"

#include <csignal>
#include <string>
#include <vector>

namespace qv::kelvo_tool {

/// While it lives, a signal that asks this process to end lets it clean up first: it ends the
/// program that runs, and no other starts. One at a time.
class StopRequests {
public:
    StopRequests();
    ~StopRequests();
    StopRequests(const StopRequests&) = delete;
    StopRequests& operator=(const StopRequests&) = delete;

    /// Tells whether there was one.
    [[nodiscard]] static bool isPending() noexcept;

private:
    std::vector<struct sigaction> m_before;
};

/// A folder for files on their way, which goes with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Tells whether it could be made; else the reason is in `errno`.
    [[nodiscard]] bool exists() const noexcept { return !m_path.empty(); }
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }
    /// Returns the path of a file in it.
    [[nodiscard]] String file(std::string_view name) const;

private:
    std::string m_path;
};

/// How a program ended.
struct ProgramEnd {
    enum class Kind { Done, Missing, Failed, Stopped };

    Kind kind = Kind::Done;
    /// For `Failed`: "ended with status 1".
    String reason;
    /// Its messages on the standard error stream, at most the first 64 kB.
    String messages;
};

/// Runs a program, found by PATH, to its end: without a shell, without input, in `folder`, where
/// what it complains of goes through the file "messages".
[[nodiscard]] ProgramEnd runProgram(const std::vector<std::string>& arguments,
                                    const TemporaryFolder& folder);

} // namespace qv::kelvo_tool
