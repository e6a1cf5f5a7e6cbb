#pragma once

#include "kelvo/sdk/impl/snapshot/byte_writer.h"

namespace qv::kelvo_sdk::impl {

/// Reads from bytes that may be damaged. After a failure all that it returns is zero or empty, so
/// that callers check once, at the end.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::byte> bytes) noexcept : m_bytes(bytes) {}

    [[nodiscard]] u32 word32() noexcept { return number<u32>(); }
    [[nodiscard]] u64 word64() noexcept { return number<u64>(); }
    /// Reads a number of things that follow, of which each takes at least `bytesOfOne` bytes.
    [[nodiscard]] u32 count(u64 bytesOfOne) noexcept {
        const u32 found = word32();
        if (found <= left() / bytesOfOne) return found;
        fail();
        return 0;
    }
    /// Reads a number below `end`; fails for others.
    [[nodiscard]] u32 below(u64 end) noexcept {
        const u32 found = word32();
        if (found < end) return found;
        fail();
        return 0;
    }
    [[nodiscard]] std::span<const std::byte> bytes(u64 count) noexcept {
        if (count > left()) fail();
        if (m_isFailed) return {};
        const auto found = m_bytes.subspan(m_position, count);
        m_position += count;
        return found;
    }
    /// Reads a text as `ByteWriter` adds it.
    [[nodiscard]] std::string_view text() noexcept {
        const auto found = bytes(word32());
        return {reinterpret_cast<const char*>(found.data()), found.size()};
    }

    /// Skips these bytes if they come next, and tells whether they do.
    [[nodiscard]] bool skip(std::span<const std::byte> expected) noexcept {
        if (m_isFailed || expected.size() > left() ||
            std::memcmp(m_bytes.data() + m_position, expected.data(), expected.size()) != 0)
            return false;
        m_position += expected.size();
        return true;
    }
    /// Returns the bytes that were read from a position on.
    [[nodiscard]] std::span<const std::byte> since(u64 position) const noexcept {
        return m_bytes.subspan(position, m_position - position);
    }

    void fail() noexcept { m_isFailed = true; }
    [[nodiscard]] bool isFailed() const noexcept { return m_isFailed; }
    [[nodiscard]] bool isAtEnd() const noexcept { return left() == 0; }
    /// Returns the number of bytes that follow.
    [[nodiscard]] u64 left() const noexcept { return m_bytes.size() - m_position; }
    /// Returns the place of the next byte, or of the one where reading failed.
    [[nodiscard]] u64 position() const noexcept { return m_position; }

private:
    template<typename T>
    T number() noexcept {
        const auto found = bytes(sizeof(T));
        if (found.empty()) return 0;
        T value;
        std::memcpy(&value, found.data(), sizeof value);
        return littleEndian(value);
    }

    std::span<const std::byte> m_bytes;
    u64 m_position = 0;
    bool m_isFailed = false;
};

} // namespace qv::kelvo_sdk::impl
