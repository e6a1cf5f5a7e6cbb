#include "kelvo/binary/impl/file_writer.h"

#include "kelvo/base/hash.h"
#include "kelvo/binary/impl/compression.h"

#include <string_view>

namespace qv::kelvo_binary {

using kelvo_sdk::Result;

namespace {

std::array<std::byte, bytesOfHeader> header() noexcept {
    std::array<std::byte, bytesOfHeader> bytes = {};
    for (std::size_t i = 0; i < magic.size(); ++i)
        bytes[i] = std::byte{magic[i]};
    store(version, &bytes[8]);
    return bytes;
}

} // namespace

void FileWriter::write(std::span<const std::byte> bytes) {
    m_size += bytes.size();
    if (!m_failure) m_failure = m_write(bytes);
}

void FileWriter::begin() {
    write(header());
}

Result FileWriter::take(std::span<const std::byte> piece, bool /*isBuffer*/) {
    Entry entry{.offset = m_size, .storedSize = piece.size(), .size = piece.size()};
    std::vector<std::byte> packed;
    if (m_isCompressed) packed = compress(piece);
    if (!packed.empty() && packed.size() < piece.size() &&
        piece.size() / packed.size() < mostCompression) {
        entry.compression = Compression::Zstd;
        entry.storedSize = packed.size();
        piece = packed;
    }
    // With the zeros up to the alignment.
    entry.hash = hashPadded(piece.data(), piece.size());
    m_entries.push_back(entry);
    write(piece);
    constexpr std::array<std::byte, alignment> zeros = {};
    write(std::span(zeros).first(aligned(piece.size()) - piece.size()));
    return m_failure ? Result::failure(String(std::string_view(m_failure.message()))) : Result();
}

void FileWriter::end() {
    std::vector<std::byte> directory(m_entries.size() * bytesOfEntry);
    std::byte* place = directory.data();
    for (const Entry& entry : m_entries) {
        for (const u64 word : {entry.offset, entry.storedSize, entry.size, entry.hash,
                               static_cast<u64>(entry.compression)}) {
            store(word, place);
            place += sizeof word;
        }
    }
    const u64 offset = m_size;
    write(directory);
    std::array<std::byte, bytesOfTrailer> trailer = {};
    store(offset, &trailer[0]);
    store(u64{m_entries.size()}, &trailer[8]);
    store(hashBytes(directory.data(), directory.size()), &trailer[16]);
    store(m_size + bytesOfTrailer, &trailer[24]);
    const auto front = header();
    store(hashBytes(front.data(), front.size()), &trailer[32]);
    store(hashBytes(trailer.data(), bytesOfTrailer - sizeof(u64)), &trailer[56]);
    write(trailer);
}

} // namespace qv::kelvo_binary
