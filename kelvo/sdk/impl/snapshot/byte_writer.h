#pragma once

#include "kelvo/base/types.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Returns a number with its bytes in the other order on machines that begin with the high byte.
template<typename T>
[[nodiscard]] constexpr T littleEndian(T number) noexcept {
    static_assert(std::is_unsigned_v<T> && (sizeof(T) == 4 || sizeof(T) == 8));
    if constexpr (std::endian::native == std::endian::little)
        return number;
    else if constexpr (sizeof(T) == 4)
        return __builtin_bswap32(number);
    else
        return __builtin_bswap64(number);
}

/// Collects bytes, numbers with their low byte first.
class ByteWriter {
public:
    void add(std::span<const std::byte> bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }
    void add(u32 number) { addNumber(number); }
    void add(u64 number) { addNumber(number); }
    /// Adds the length, then the bytes of the text.
    void add(std::string_view text) {
        add(static_cast<u32>(text.size()));
        add(std::as_bytes(std::span(text)));
    }
    /// Sets a number that was added before.
    void set(u64 place, u32 number) {
        number = littleEndian(number);
        std::memcpy(m_bytes.data() + place, &number, sizeof number);
    }
    void pad(u64 alignment) { m_bytes.resize((size() + alignment - 1) / alignment * alignment); }

    [[nodiscard]] u64 size() const noexcept { return m_bytes.size(); }
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept { return m_bytes; }
    void clear() noexcept { m_bytes.clear(); }

private:
    template<typename T>
    void addNumber(T number) {
        number = littleEndian(number);
        add(std::as_bytes(std::span(&number, 1)));
    }

    std::vector<std::byte> m_bytes;
};

} // namespace qv::kelvo_sdk::impl
