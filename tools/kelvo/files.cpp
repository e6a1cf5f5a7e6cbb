#include "tools/kelvo/files.h"

#include "kelvo/files/text_file.h"
#include "tools/kelvo/descriptor.h"
#include "tools/kelvo/new_file.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

namespace fs = std::filesystem;

bool fail(const char* doing, const String& path, String& error) {
    const std::string reason = std::generic_category().message(errno);
    error = String("cannot ") + doing + " '" + displayed(path) + "': " + std::string_view(reason);
    return false;
}

bool readAll(int descriptor, std::string& text) {
    struct stat info {};
    if (::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode))
        text.reserve(static_cast<std::size_t>(info.st_size) + 1);
    constexpr std::size_t step = std::size_t{1} << 18;
    std::size_t length = 0;
    for (;;) {
        text.resize(length + step);
        const ssize_t got = ::read(descriptor, text.data() + length, step);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        length += static_cast<std::size_t>(got);
        if (got != 0) continue;
        text.resize(length);
        return true;
    }
}

mode_t newFileMode() noexcept {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Writes a new file and replaces the old one by it.
bool replaceFile(const fs::path& target, const struct stat* old, std::string_view text) {
    if (old && ::access(target.c_str(), W_OK) != 0) return false;
    NewFile file(target);
    if (!file.open()) return false;
    // Keeps the owner of the old file if permitted; otherwise the new file is ours.
    if (old) (void)!::fchown(file.number(), old->st_uid, old->st_gid);
    const mode_t mode = old ? old->st_mode & 07777 : newFileMode();
    return ::fchmod(file.number(), mode) == 0 && writeAll(file.number(), text) && file.takePlace();
}

bool writeInto(const fs::path& target, std::string_view text) {
    Descriptor file(::open(target.c_str(), O_WRONLY | O_CLOEXEC));
    return file.isOpen() && writeAll(file.number(), text) && file.close();
}

} // namespace

String displayed(const String& path) {
    return isStream(path) ? String("standard input") : path;
}

bool isFileBeside(const String& file, const String& path) {
    const fs::path folder = isStream(file) ? fs::path() : fs::path(file.view()).parent_path();
    std::error_code failure;
    const fs::file_status status = fs::status(folder / fs::path(path.view()), failure);
    return fs::exists(status) && !fs::is_directory(status);
}

bool readFile(const String& path, String& text, String& error) {
    const Descriptor file(isStream(path) ? STDIN_FILENO : ::open(path.buf(), O_RDONLY | O_CLOEXEC));
    std::string bytes;
    if (!file.isOpen() || !readAll(file.number(), bytes)) return fail("read", path, error);
    text = String(std::string_view(bytes));
    return true;
}

bool writeAll(int descriptor, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool writeFile(const String& path, std::string_view text, String& error) {
    fs::path target(path.view());
    struct stat info {};
    const bool exists = ::stat(target.c_str(), &info) == 0;
    // Opens by the given name: a link such as /dev/stdout may lead to a pipe that has no path.
    if (exists && !S_ISREG(info.st_mode))
        return writeInto(target, text) || fail("write", path, error);
    if (const std::error_code failure = kelvo_files::followLinks(target)) {
        errno = failure.value();
        return fail("write", path, error);
    }
    return replaceFile(target, exists ? &info : nullptr, text) || fail("write", path, error);
}

} // namespace qv::kelvo_tool
