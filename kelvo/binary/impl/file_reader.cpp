#include "kelvo/binary/impl/file_reader.h"

#include "kelvo/base/hash.h"
#include "kelvo/binary/impl/compression.h"

#include <algorithm>
#include <limits>
#include <new>

namespace qv::kelvo_binary {

using kelvo_sdk::Result;
using kelvo_sdk::StoredPiece;

namespace {

// Memory that is aligned as buffers need it.
class OwnBytes final : public RefCounted {
public:
    explicit OwnBytes(u64 size)
        : m_bytes(static_cast<std::byte*>(::operator new(size, std::align_val_t(alignment)))),
          m_size(size) {}
    ~OwnBytes() override { ::operator delete(m_bytes, std::align_val_t(alignment)); }
    OwnBytes(const OwnBytes&) = delete;
    OwnBytes& operator=(const OwnBytes&) = delete;
    [[nodiscard]] std::span<std::byte> bytes() const noexcept { return {m_bytes, m_size}; }

private:
    std::byte* m_bytes;
    u64 m_size;
};

// Keeps a piece until it was read.
class PieceInUse final : public RefCounted {
public:
    PieceInUse(RefersTo<FileBytes> file, std::span<const std::byte> bytes) noexcept
        : m_file(std::move(file)), m_bytes(bytes) {}
    ~PieceInUse() override { m_file->leave(m_bytes); }
    PieceInUse(const PieceInUse&) = delete;
    PieceInUse& operator=(const PieceInUse&) = delete;

private:
    RefersTo<FileBytes> m_file;
    std::span<const std::byte> m_bytes;
};

u64 hashOf(std::span<const std::byte> bytes) noexcept {
    return hashBytes(bytes.data(), bytes.size());
}

} // namespace

Result FileReader::damageAt(u64 offset, const char* reason) const {
    return Result::failure(String::format("%s, byte %llu: %s", m_name.buf(),
                                          static_cast<unsigned long long>(offset), reason));
}

Result FileReader::open() {
    const auto bytes = m_bytes;
    const auto* const known = reinterpret_cast<const std::byte*>(magic.data());
    const u64 size = bytes.size();
    if (size < magic.size() || !std::equal(known, known + magic.size(), bytes.begin()))
        return damageAt(0, "The file is no scene in the binary form.");
    if (size < bytesOfHeader + bytesOfTrailer) return damageAt(size, "The file is cut off here.");
    if (const u32 found = load<u32>(&bytes[8]); found != version)
        return Result::failure(String::format("%s, byte 8: The binary form has version %u, and "
                                              "this program reads version %u.",
                                              m_name.buf(), found, version));
    const u64 end = size - bytesOfTrailer;
    const auto trailer = bytes.subspan(end);
    if (load<u64>(&trailer[56]) != hashOf(trailer.first(56)))
        return damageAt(end, "The end of the file is damaged, or it is cut off here.");
    if (load<u64>(&trailer[24]) != size)
        return damageAt(end + 24, "The file has another size than it says.");
    if (load<u64>(&trailer[32]) != hashOf(bytes.first(bytesOfHeader)))
        return damageAt(0, "The header is damaged.");
    m_directory = load<u64>(&trailer[0]);
    const u64 count = load<u64>(&trailer[8]);
    if (m_directory < bytesOfHeader || m_directory > end ||
        count > std::numeric_limits<u32>::max() || (end - m_directory) % bytesOfEntry != 0 ||
        count != (end - m_directory) / bytesOfEntry)
        return damageAt(end, "The directory is not where the file says.");
    if (load<u64>(&trailer[16]) != hashOf(bytes.subspan(m_directory, end - m_directory)))
        return damageAt(m_directory, "The directory is damaged.");
    m_count = static_cast<u32>(count);
    return {};
}

Entry FileReader::entry(u32 number) const noexcept {
    const std::byte* const place = &m_bytes[m_directory + number * bytesOfEntry];
    return {.offset = load<u64>(place),
            .storedSize = load<u64>(place + 8),
            .size = load<u64>(place + 16),
            .hash = load<u64>(place + 24),
            .compression = static_cast<Compression>(load<u64>(place + 32))};
}

bool FileReader::isInside(const Entry& entry) const noexcept {
    return entry.offset >= bytesOfHeader && entry.offset <= m_directory &&
           entry.offset % alignment == 0 && entry.storedSize <= m_directory - entry.offset &&
           aligned(entry.storedSize) <= m_directory - entry.offset;
}

Result FileReader::checkHash(const Entry& entry) const {
    const auto stored = m_bytes.subspan(entry.offset, aligned(entry.storedSize));
    return hashOf(stored) == entry.hash ? Result()
                                        : damageAt(entry.offset, "The data are damaged.");
}

Result FileReader::piece(u32 number, StoredPiece& out) const {
    if (const Result given = buffer(number, out); !given) return given;
    const bool isInPlace = entry(number).compression == Compression::None;
    if (isInPlace) out.owner = RefersTo<PieceInUse>::adopt(new PieceInUse(m_file, out.bytes));
    return check(number);
}

Result FileReader::buffer(u32 number, StoredPiece& out) const {
    const Entry found = entry(number);
    if (!isInside(found))
        return damageAt(m_directory + number * bytesOfEntry, "The piece is not in the file.");
    if (found.compression != Compression::None) return unpack(found, out);
    if (found.size != found.storedSize)
        return damageAt(m_directory + number * bytesOfEntry, "The piece has two sizes.");
    out = {m_bytes.subspan(found.offset, found.size), m_file};
    return {};
}

Result FileReader::check(u32 number) const {
    const Entry found = entry(number);
    // Compressed pieces are checked when they are decompressed.
    return found.compression == Compression::None ? checkHash(found) : Result();
}

Result FileReader::unpack(const Entry& entry, StoredPiece& out) const {
    if (const Result checked = checkHash(entry); !checked) return checked;
    if (entry.compression != Compression::Zstd)
        return damageAt(entry.offset, "The data are compressed in an unknown way.");
    if (!canCompress())
        return damageAt(entry.offset,
                        "The data are compressed by zstd, and this program was built without it.");
    if (entry.size / mostCompression > entry.storedSize)
        return damageAt(entry.offset, "The data say that they become too large.");
    const auto unpacked = RefersTo<OwnBytes>::adopt(new OwnBytes(entry.size));
    const auto stored = m_bytes.subspan(entry.offset, entry.storedSize);
    if (!decompress(stored, unpacked->bytes()))
        return damageAt(entry.offset, "The data cannot be decompressed.");
    m_file->leave(stored);
    out = {unpacked->bytes(), unpacked};
    return {};
}

String FileReader::placeOf(u32 number, u64 byte) const {
    const Entry found = entry(number);
    const bool isPlain = found.compression == Compression::None;
    return String::format("%s, byte %llu", m_name.buf(),
                          static_cast<unsigned long long>(found.offset + (isPlain ? byte : 0)));
}

} // namespace qv::kelvo_binary
