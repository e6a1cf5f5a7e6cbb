#include "kelvo/binary/impl/mapped_file.h"

#include "kelvo/binary/impl/layout.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::kelvo_binary {

namespace {

std::error_code lastError() noexcept {
    return {errno, std::generic_category()};
}

class Descriptor {
public:
    explicit Descriptor(const std::filesystem::path& file) noexcept
        : m_number(::open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (m_number >= 0) ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const noexcept { return m_number; }

private:
    int m_number;
};

} // namespace

std::error_code MappedFile::open(const std::filesystem::path& file) {
    const Descriptor opened(file);
    struct stat status = {};
    if (opened.number() < 0 || ::fstat(opened.number(), &status) != 0) return lastError();
    if (S_ISDIR(status.st_mode)) return std::make_error_code(std::errc::is_a_directory);
    if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::invalid_seek);
    // An empty file cannot be mapped, and needs not be.
    if (status.st_size == 0) return {};
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const found = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, opened.number(), 0);
    if (found == MAP_FAILED) return lastError();
    m_bytes = static_cast<const std::byte*>(found);
    m_size = size;
    return {};
}

// Ranges leave together, because the system stops all threads for a moment each time.
void MappedFile::leave(std::span<const std::byte> read) const noexcept {
    constexpr std::size_t enough = 1 << 20;
    const auto begin = static_cast<std::size_t>(read.data() - m_bytes);
    const Range range = {begin, begin + read.size()};
    const std::lock_guard lock(m_mutex);
    const auto waiting = std::span(m_waiting).first(m_waitingCount);
    const auto isInFront = [&](const Range& other) {
        return other.end <= range.begin && range.begin - other.end < alignment;
    };
    if (const auto found = std::ranges::find_if(waiting, isInFront); found != waiting.end())
        found->end = range.end;
    else
        m_waiting[m_waitingCount++] = range;
    m_waitingBytes += read.size();
    if (m_waitingBytes >= enough || m_waitingCount == m_waiting.size()) leaveAll();
}

// Only whole pages can leave; the system reads them anew when they are asked for again.
void MappedFile::leaveAll() const noexcept {
    static const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    for (const Range& range : std::span(m_waiting).first(m_waitingCount)) {
        const std::size_t first = (range.begin + page - 1) / page * page;
        const std::size_t end = range.end / page * page;
        if (first < end)
            ::madvise(const_cast<std::byte*>(m_bytes) + first, end - first, MADV_DONTNEED);
    }
    m_waitingCount = m_waitingBytes = 0;
}

MappedFile::~MappedFile() {
    if (m_bytes) ::munmap(const_cast<std::byte*>(m_bytes), m_size);
}

} // namespace qv::kelvo_binary
