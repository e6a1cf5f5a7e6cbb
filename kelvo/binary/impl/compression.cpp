#include "kelvo/binary/impl/compression.h"

#ifdef KELVO_HAS_ZSTD
#include <zstd.h>
#endif

namespace qv::kelvo_binary {

#ifdef KELVO_HAS_ZSTD

namespace {

// A fast level: higher ones take several times as long for a few per cent.
constexpr int level = 3;

} // namespace

bool canCompress() noexcept {
    return true;
}

std::vector<std::byte> compress(std::span<const std::byte> bytes) {
    std::vector<std::byte> packed(ZSTD_compressBound(bytes.size()));
    const std::size_t size =
        ZSTD_compress(packed.data(), packed.size(), bytes.data(), bytes.size(), level);
    packed.resize(ZSTD_isError(size) ? 0 : size);
    return packed;
}

bool decompress(std::span<const std::byte> from, std::span<std::byte> to) noexcept {
    return ZSTD_decompress(to.data(), to.size(), from.data(), from.size()) == to.size();
}

#else

bool canCompress() noexcept {
    return false;
}

std::vector<std::byte> compress(std::span<const std::byte> /*bytes*/) {
    return {};
}

bool decompress(std::span<const std::byte> /*from*/, std::span<std::byte> /*to*/) noexcept {
    return false;
}

#endif

} // namespace qv::kelvo_binary
