#pragma once

#include "kelvo/binary/impl/file_bytes.h"

#include <cstddef>
#include <filesystem>
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
    const std::byte* m_bytes = nullptr;
    std::size_t m_size = 0;
};

} // namespace qv::kelvo_binary
