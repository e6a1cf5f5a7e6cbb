#include "tools/import/isolated.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace qv::model_import {

namespace {

// Ends with its parent, and without a memory image on disk.
[[noreturn]] void runHere(const std::function<int()>& work, pid_t parent) {
#if defined(__linux__)
    prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
    if (getppid() != parent) _exit(1);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    int result = 1;
    try {
        result = work();
    } catch (...) {
        std::abort();
    }
    std::fflush(nullptr);
    _exit(result);
}

} // namespace

int runIsolated(const std::function<int()>& work, String& error) {
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) return work();
    if (child == 0) runHere(work, parent);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    error = strsignal(WTERMSIG(status));
    return -1;
}

} // namespace qv::model_import
