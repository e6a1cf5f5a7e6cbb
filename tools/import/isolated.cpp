#include "tools/import/isolated.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace qv::model_import {

namespace {

// Runs the work in the child process, which ends with its parent and leaves no core file.
[[noreturn]] void runHere(const std::function<int()>& work, u64 seconds, pid_t parent) {
#if defined(__linux__)
    prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
    if (getppid() != parent) _exit(1);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    const rlimit time{seconds, seconds + 1};
    setrlimit(RLIMIT_CPU, &time);
    int result = 1;
    try {
        result = work();
    } catch (...) {
        std::abort();
    }
    std::fflush(nullptr);
    _exit(result);
}

String reasonOf(int signal, u64 seconds) {
    if (signal == SIGXCPU)
        return String::format("reading it comes to no end within %llu s",
                              static_cast<unsigned long long>(seconds));
    return String::format("its reader crashed: %s", strsignal(signal));
}

} // namespace

int runIsolated(const std::function<int()>& work, u64 seconds, String& error) {
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) return work();
    if (child == 0) runHere(work, seconds, parent);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    error = reasonOf(WTERMSIG(status), seconds);
    return -1;
}

u64 readingTime(const String& file) {
    constexpr u64 plainSeconds = 30, secondsPerMega = 10;
    std::error_code error;
    const u64 bytes = std::filesystem::file_size(file.buf(), error);
    return error ? plainSeconds : plainSeconds + (bytes >> 20) * secondsPerMega;
}

} // namespace qv::model_import
