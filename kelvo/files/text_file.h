#pragma once

#include "kelvo/base/string.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace qv::kelvo_files {

/// Follows symbolic links to their final target, which need not exist yet.
inline std::error_code followLinks(std::filesystem::path& file) {
    std::error_code failure;
    for (int links = 0; std::filesystem::is_symlink(file, failure); ++links) {
        if (links == 40) return std::make_error_code(std::errc::too_many_symbolic_link_levels);
        const std::filesystem::path target = std::filesystem::read_symlink(file, failure);
        if (failure) return failure;
        file = file.parent_path() / target;
    }
    return {};
}

namespace detail {

namespace fs = std::filesystem;

struct Close {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, Close>;

// Mode "x" creates a new file, and fails if the file exists.
inline Stream open(const fs::path& file, const char* mode) {
    return Stream(std::fopen(file.string().c_str(), mode));
}

// Opening and closing streams may fail for lack of memory; throws `bad_alloc` then, as elsewhere.
inline std::error_code lastError() {
    if (errno == ENOMEM) throw std::bad_alloc();
    return {errno, std::generic_category()};
}

// A new file that is deleted again unless it replaces another file.
class NewFile {
public:
    NewFile() = default;
    ~NewFile() {
        std::error_code ignored;
        if (m_isThere) fs::remove(m_name, ignored);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // Creates the file in the folder, under a free name.
    Stream openIn(const fs::path& folder);
    std::error_code moveTo(const fs::path& target) {
        std::error_code failure;
        fs::rename(m_name, target, failure);
        m_isThere = static_cast<bool>(failure);
        return failure;
    }
    [[nodiscard]] const fs::path& name() const noexcept { return m_name; }

private:
    fs::path m_name;
    bool m_isThere = false;
};

inline std::error_code readAll(std::FILE* stream, std::string& text) {
    char piece[1 << 16];
    while (const std::size_t got = std::fread(piece, 1, sizeof piece, stream))
        text.append(piece, got);
    return std::ferror(stream) ? lastError() : std::error_code();
}

// Writes with `fill(FILE*)`. Checks the close as well: some file systems report a failed write only
// then.
template<typename Fill>
std::error_code writeAll(Stream stream, const Fill& fill) {
    if (const std::error_code failure = fill(stream.get())) return failure;
    return std::fclose(stream.release()) == 0 ? std::error_code() : lastError();
}

inline Stream NewFile::openIn(const fs::path& folder) {
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    for (int tries = 0; tries < 100; ++tries) {
        std::string ending;
        for (int i = 0; i < 6; ++i)
            ending += letters[random() % letters.size()];
        m_name = folder / (".kelvo-" + ending);
        Stream made = open(m_name, "wbx");
        m_isThere = made != nullptr;
        if (made || errno != EEXIST) return made;
    }
    return nullptr;
}

// Sets the permissions before the content, so that nobody can read text that the old file kept
// private.
template<typename Fill>
std::error_code fillAndRename(Stream made, NewFile& file, const fs::path& target,
                              const fs::file_status& old, const Fill& fill) {
    std::error_code failure;
    if (fs::exists(old)) fs::permissions(file.name(), old.permissions(), failure);
    if (!failure) failure = writeAll(std::move(made), fill);
    return failure ? failure : file.moveTo(target);
}

template<typename Fill>
std::error_code replace(const fs::path& target, const fs::file_status& old, const Fill& fill) {
    // A file without write permission must not be replaced either.
    if (fs::exists(old) && !open(target, "r+b")) return lastError();
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    NewFile file;
    Stream made = file.openIn(folder);
    if (!made) return lastError();
    return fillAndRename(std::move(made), file, target, old, fill);
}

} // namespace detail

/// Reads a whole file; on failure `text` is unchanged.
[[nodiscard]] inline std::error_code readText(const std::filesystem::path& file, String& text) {
    const detail::Stream stream = detail::open(file, "rb");
    if (!stream) return detail::lastError();
    std::string bytes;
    const std::error_code failure = detail::readAll(stream.get(), bytes);
    if (!failure) text = String(std::string_view(bytes));
    return failure;
}

/// Writes to a file at its present position.
[[nodiscard]] inline std::error_code writeBytes(std::FILE* stream, std::string_view bytes) {
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    return isWritten ? std::error_code() : detail::lastError();
}

/// Replaces a file in one step by what `fill(FILE*)` writes: concurrent readers get the old or the
/// new content, and when that returns a failure the old content stays. Keeps permissions and
/// follows symbolic links; writes directly to anything other than a plain file, such as a device.
///
/// A program that is killed meanwhile may leave a file ".kelvo-" with six letters in the folder.
template<typename Fill>
[[nodiscard]] std::error_code replaceFile(std::filesystem::path file, const Fill& fill) {
    std::error_code unknown;
    const std::filesystem::file_status old = std::filesystem::status(file, unknown);
    // Opens by the given name: a link such as /dev/stdout may lead to a pipe that has no path.
    if (std::filesystem::exists(old) && !std::filesystem::is_regular_file(old)) {
        detail::Stream opened = detail::open(file, "wb");
        return opened ? detail::writeAll(std::move(opened), fill) : detail::lastError();
    }
    if (const std::error_code failure = followLinks(file)) return failure;
    return detail::replace(file, old, fill);
}

/// Replaces a file by a text, like `replaceFile`.
[[nodiscard]] inline std::error_code writeText(const std::filesystem::path& file,
                                               std::string_view text) {
    return replaceFile(file, [&](std::FILE* stream) { return writeBytes(stream, text); });
}

} // namespace qv::kelvo_files
