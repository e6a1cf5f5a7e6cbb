#pragma once

#include "kelvo/base/ref_counted.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <system_error>

namespace qv::kelvo_binary {

/// A file whose bytes are in memory as they are read.
class MappedFile final : public RefCounted {
public:
    MappedFile() = default;
    ~MappedFile() override;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    [[nodiscard]] std::error_code open(const std::filesystem::path& file);
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept { return {m_bytes, m_size}; }

private:
    const std::byte* m_bytes = nullptr;
    std::size_t m_size = 0;
};

} // namespace qv::kelvo_binary
