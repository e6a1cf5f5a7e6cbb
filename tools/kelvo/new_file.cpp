#include "tools/kelvo/new_file.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace qv::kelvo_tool {

namespace {

namespace fs = std::filesystem;

// Uses a part of the name only: the whole name may be as long as the file system allows.
std::string hiddenName(const fs::path& target) {
    constexpr std::size_t most = 200;
    return ".kelvo-" + target.filename().string().substr(0, most);
}

// Returns a path by which this and other processes can refer to an open file without a name.
std::string pathOf(const Descriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.number());
}

bool isAt(const Descriptor& file, const fs::path& path) noexcept {
    struct stat opened {};
    struct stat named {};
    return ::fstat(file.number(), &opened) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

// The command that writes a new file holds its lock.
bool isBeingWritten(const Descriptor& file) noexcept {
    return ::flock(file.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

NewFile::NewFile(fs::path target)
    : m_target(std::move(target)),
      m_folder(m_target.has_parent_path() ? m_target.parent_path() : fs::path(".")),
      m_name(m_folder / hiddenName(m_target)) {}

NewFile::~NewFile() {
    const int reason = errno;
    if (m_isNamed) ::unlink(m_name.c_str());
    errno = reason;
}

bool NewFile::open() {
    return openNameless() || openNamed();
}

bool NewFile::openNameless() {
    Descriptor file(::open(m_folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    // Without this folder the file could never get a name.
    if (!file.isOpen() || ::access(pathOf(file).c_str(), F_OK) != 0) return false;
    (void)!::flock(file.number(), LOCK_EX | LOCK_NB);
    m_file = std::move(file);
    return true;
}

bool NewFile::openNamed() {
    m_isNamed = makeName([this] {
        m_file = Descriptor(
            ::open(m_name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, 0600));
        return m_file.isOpen();
    });
    if (m_isNamed) (void)!::flock(m_file.number(), LOCK_EX | LOCK_NB);
    return m_isNamed;
}

bool NewFile::takePlace() {
    if (::fsync(m_file.number()) != 0) return false;
    if (!m_isNamed && !giveName()) return false;
    if (::rename(m_name.c_str(), m_target.c_str()) != 0) return false;
    m_isNamed = false;
    // Syncs the folder as well, so that the new name reaches the disk; not all file systems support
    // that.
    const Descriptor opened(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) (void)!::fsync(opened.number());
    return true;
}

bool NewFile::giveName() {
    const std::string self = pathOf(m_file);
    m_isNamed = makeName([&] {
        return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, m_name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    });
    return m_isNamed;
}

// Waits while another command uses the name, and removes the file of a killed command.
template<typename Make>
bool NewFile::makeName(const Make& make) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::minutes(1);
    while (!make()) {
        if (errno != EEXIST || Clock::now() > end || !removeLeftover()) return false;
    }
    return true;
}

// Leaves a file alone that another command is still writing.
bool NewFile::removeLeftover() const {
    const Descriptor found(::open(m_name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (found.isOpen() && isBeingWritten(found)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return true;
    }
    if (found.isOpen() && !isAt(found, m_name)) return true;
    return ::unlink(m_name.c_str()) == 0 || errno == ENOENT;
}

} // namespace qv::kelvo_tool
