#pragma once

#include "kelvo/binary/impl/layout.h"
#include "kelvo/sdk/snapshot_pieces.h"

#include <functional>
#include <system_error>
#include <vector>

namespace qv::kelvo_binary {

/// Writes the pieces of a snapshot to a file, from begin to end, so that it may be a pipe.
class FileWriter final : public kelvo_sdk::PieceSink {
public:
    /// Appends bytes to the file.
    using Write = std::function<std::error_code(std::span<const std::byte>)>;

    FileWriter(Write write, bool isCompressed)
        : m_write(std::move(write)), m_isCompressed(isCompressed) {}

    void begin();
    kelvo_sdk::Result take(std::span<const std::byte> piece, bool isBuffer) override;
    void end();
    /// Returns the reason why the file could not be written.
    [[nodiscard]] std::error_code failure() const noexcept { return m_failure; }

private:
    void write(std::span<const std::byte> bytes);

    Write m_write;
    bool m_isCompressed;
    std::error_code m_failure;
    u64 m_size = 0;
    std::vector<Entry> m_entries;
};

} // namespace qv::kelvo_binary
