#pragma once

#include "kelvo/binary/impl/file_bytes.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <span>
#include <system_error>

namespace qv::kelvo_binary {

/// A file whose bytes are in memory as they are read.
class MappedFile final : public FileBytes {
public:
    MappedFile() = default;
    ~MappedFile() override;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    [[nodiscard]] std::error_code open(const std::filesystem::path& file);
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept override {
        return {m_bytes, m_size};
    }
    void leave(std::span<const std::byte> read) const noexcept override;

private:
    // Places in the file.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };

    void leaveAll() const noexcept;

    const std::byte* m_bytes = nullptr;
    std::size_t m_size = 0;
    // Ranges that were read and wait to leave together, and their bytes.
    mutable std::mutex m_mutex;
    mutable std::array<Range, 16> m_waiting = {};
    mutable std::size_t m_waitingCount = 0;
    mutable std::size_t m_waitingBytes = 0;
};

} // namespace qv::kelvo_binary
