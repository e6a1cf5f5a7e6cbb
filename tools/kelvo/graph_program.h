#pragma once

#include "kelvo/base/string.h"

#include <csignal>
#include <string>
#include <vector>

namespace qv::kelvo_tool {

/// During its lifetime a signal that asks this process to end stops the running program and
/// prevents further ones, so that the process can clean up first. Only one may exist at a time.
class StopRequests {
public:
    StopRequests();
    ~StopRequests();
    StopRequests(const StopRequests&) = delete;
    StopRequests& operator=(const StopRequests&) = delete;

    /// Tells whether such a signal came.
    [[nodiscard]] static bool isPending() noexcept;

private:
    std::vector<struct sigaction> m_before;
};

/// A temporary folder, deleted with its content.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Tells whether the folder was created; if not, the reason is in `errno`.
    [[nodiscard]] bool exists() const noexcept { return !m_path.empty(); }
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }
    /// Returns the path of a file in the folder.
    [[nodiscard]] String file(std::string_view name) const;

private:
    std::string m_path;
};

/// The way in which a program ended.
struct ProgramEnd {
    enum class Kind { Done, Missing, Failed, Stopped };

    Kind kind = Kind::Done;
    /// For `Failed`: "ended with status 1".
    String reason;
    /// Its output on the standard error stream, at most the first 64 kB.
    String messages;
};

/// Runs a program, found by PATH, to its end: without a shell or input, in `folder`, where the file
/// "messages" receives its error output.
[[nodiscard]] ProgramEnd runProgram(const std::vector<std::string>& arguments,
                                    const TemporaryFolder& folder);

} // namespace qv::kelvo_tool
