#include "tools/kelvo/graph_program.h"

#include "tools/kelvo/files.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace qv::kelvo_tool {

namespace {

constexpr const char* messagesName = "messages";
constexpr std::array stopSignals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t s_child = 0;
volatile std::sig_atomic_t s_isStopped = 0;

void stop(int) {
    s_isStopped = 1;
    if (s_child > 0) ::kill(s_child, SIGTERM);
}

/// Blocks the signals from the start of a program until its process id is known.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : stopSignals)
            sigaddset(&held, signal);
        sigprocmask(SIG_BLOCK, &held, &m_before);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

    [[nodiscard]] const sigset_t& before() const noexcept { return m_before; }

private:
    sigset_t m_before{};
};

/// The environment of a started program: a working folder, no input, no output, and default
/// signals.
class Surroundings {
public:
    Surroundings(const std::string& folder, const sigset_t& mask) {
        posix_spawn_file_actions_init(&m_files);
        posix_spawn_file_actions_addchdir_np(&m_files, folder.c_str());
        posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&m_files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&m_files, STDERR_FILENO, messagesName,
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        sigset_t usual;
        sigemptyset(&usual);
        // Resets the signals that this process ignores; starting a program resets handlers by
        // itself.
        for (const int signal : {SIGPIPE, SIGXFSZ})
            sigaddset(&usual, signal);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setsigdefault(&m_attributes, &usual);
        posix_spawnattr_setsigmask(&m_attributes, &mask);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Surroundings() {
        posix_spawn_file_actions_destroy(&m_files);
        posix_spawnattr_destroy(&m_attributes);
    }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    [[nodiscard]] int start(const std::vector<std::string>& arguments, pid_t& child) const {
        std::vector<char*> pointers;
        for (const std::string& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);
        return posix_spawnp(&child, pointers[0], &m_files, &m_attributes, pointers.data(), environ);
    }

private:
    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
};

ProgramEnd notStarted(int error) {
    if (error == ENOENT || error == ENOTDIR || error == EACCES)
        return {ProgramEnd::Kind::Missing, {}, {}};
    return {ProgramEnd::Kind::Failed, String("could not be started: ") + std::strerror(error), {}};
}

ProgramEnd ended(int status) {
    if (s_isStopped) return {ProgramEnd::Kind::Stopped, {}, {}};
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return {};
    const String reason = WIFEXITED(status)
                              ? String::format("ended with status %d", WEXITSTATUS(status))
                              : String::format("ended by signal %d", WTERMSIG(status));
    return {ProgramEnd::Kind::Failed, reason, {}};
}

} // namespace

StopRequests::StopRequests() {
    s_isStopped = 0;
    struct sigaction action {};
    action.sa_handler = &stop;
    for (const int signal : stopSignals) {
        struct sigaction before {};
        sigaction(signal, &action, &before);
        // Keeps ignoring a signal that the process was started to ignore, as by nohup.
        if (before.sa_handler == SIG_IGN) sigaction(signal, &before, nullptr);
        m_before.push_back(before);
    }
}

StopRequests::~StopRequests() {
    for (std::size_t i = 0; i < m_before.size(); ++i)
        sigaction(stopSignals[i], &m_before[i], nullptr);
}

bool StopRequests::isPending() noexcept {
    return s_isStopped != 0;
}

TemporaryFolder::TemporaryFolder() {
    std::error_code failure;
    std::filesystem::path above = std::filesystem::temp_directory_path(failure);
    std::string path = (failure ? std::filesystem::path("/tmp") : above) / "kelvo-XXXXXX";
    if (::mkdtemp(path.data())) m_path = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code failure;
    if (exists()) std::filesystem::remove_all(m_path, failure);
}

String TemporaryFolder::file(std::string_view name) const {
    return String(std::string_view(m_path)) + '/' + name;
}

ProgramEnd runProgram(const std::vector<std::string>& arguments, const TemporaryFolder& folder) {
    {
        const SignalsHeld held;
        if (s_isStopped) return {ProgramEnd::Kind::Stopped, {}, {}};
        pid_t child = 0;
        if (const int error = Surroundings(folder.path(), held.before()).start(arguments, child))
            return notStarted(error);
        s_child = child;
    }
    int status = 0;
    while (::waitpid(s_child, &status, 0) < 0 && errno == EINTR) {
    }
    s_child = 0;
    ProgramEnd end = ended(status);
    String error;
    if (!readFile(folder.file(messagesName), end.messages, error)) end.messages = {};
    end.messages = end.messages.substr(0, u64{1} << 16);
    return end;
}

} // namespace qv::kelvo_tool
