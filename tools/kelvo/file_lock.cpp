#include "tools/kelvo/file_lock.h"

#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace qv::kelvo_tool {

namespace {

bool isPlain(const char* path, struct stat& info) noexcept {
    return ::stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool isAt(const Descriptor& file, const char* path) noexcept {
    struct stat opened {};
    struct stat named {};
    return ::fstat(file.number(), &opened) == 0 && ::stat(path, &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

// Writing replaces the file, so the lock may turn out to be that of the replaced file; then tries
// again.
bool FileLock::take(const String& path, String& error) {
    using Clock = std::chrono::steady_clock;
    constexpr auto step = std::chrono::milliseconds(5);
    const auto end = Clock::now() + std::chrono::minutes(1);
    release();
    for (struct stat info{}; isPlain(path.buf(), info);) {
        Descriptor file(::open(path.buf(), O_RDONLY | O_CLOEXEC));
        if (!file.isOpen()) return true;
        const bool isTaken = ::flock(file.number(), LOCK_EX | LOCK_NB) == 0;
        if (!isTaken && errno != EWOULDBLOCK) return true;
        if (isTaken && isAt(file, path.buf())) {
            m_file = std::move(file);
            return true;
        }
        if (Clock::now() > end) {
            error = "cannot edit '" + path + "': another command has been at it for a minute";
            return false;
        }
        if (!isTaken) std::this_thread::sleep_for(step);
    }
    return true;
}

} // namespace qv::kelvo_tool
