#include "kelvo/binary/binary_scene.h"

#include "kelvo/binary/impl/compression.h"
#include "kelvo/binary/impl/file_reader.h"
#include "kelvo/binary/impl/file_writer.h"
#include "kelvo/binary/impl/mapped_file.h"
#include "kelvo/files/text_file.h"

#include <array>
#include <fstream>
#include <new>
#include <span>
#include <string_view>
#include <utility>

namespace qv::kelvo_sdk {

using namespace kelvo_binary;

namespace {

// The bytes of a file that was read by others.
class OwnedBytes final : public FileBytes {
public:
    explicit OwnedBytes(std::string bytes) noexcept : m_bytes(std::move(bytes)) {}
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept override {
        return std::as_bytes(std::span(m_bytes));
    }

private:
    std::string m_bytes;
};

std::string_view textOf(std::span<const std::byte> bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Result fileFailure(const std::filesystem::path& file, const char* what, const std::string& reason) {
    return Result::failure(
        String::format("%s: %s%s.", file.string().c_str(), what, reason.c_str()));
}

Result store(const Snapshot& snapshot, const FileWriter::Write& write, const BinaryOptions& options,
             std::error_code& unwritten) {
    if (options.isCompressed && !canCompress())
        return Result::failure("This program was built without zstd, so it cannot compress.");
    FileWriter writer(write, options.isCompressed);
    writer.begin();
    Result stored = storeSnapshot(snapshot, writer);
    if (stored) writer.end();
    unwritten = writer.failure();
    return stored;
}

Made<Snapshot> open(RefersTo<FileBytes> file, String name) {
    const auto reader =
        RefersTo<FileReader>::adopt(new FileReader(std::move(file), std::move(name)));
    if (Result opened = reader->open(); !opened) return opened;
    return openSnapshot(RefersTo<PieceSource>(reader.get()));
}

} // namespace

Result saveBinary(const Snapshot& snapshot, const std::filesystem::path& file,
                  const BinaryOptions& options) {
    constexpr const char* what = "The file cannot be written: ";
    Result stored;
    const std::error_code failure = kelvo_files::replaceFile(file, [&](std::FILE* stream) {
        const auto write = [stream](std::span<const std::byte> bytes) {
            return kelvo_files::writeBytes(stream, textOf(bytes));
        };
        std::error_code unwritten;
        stored = store(snapshot, write, options, unwritten);
        if (stored || unwritten) return unwritten;
        return std::make_error_code(std::errc::operation_canceled);
    });
    if (failure && failure != std::errc::operation_canceled)
        return fileFailure(file, what, failure.message());
    return stored;
}

Result appendBinary(const Snapshot& snapshot, std::string& bytes, const BinaryOptions& options) {
    const auto write = [&bytes](std::span<const std::byte> more) {
        bytes += textOf(more);
        return std::error_code();
    };
    std::error_code none;
    return store(snapshot, write, options, none);
}

Made<Snapshot> openBinary(const std::filesystem::path& file) {
    const auto mapped = RefersTo<MappedFile>::adopt(new MappedFile);
    if (const std::error_code failure = mapped->open(file)) {
        if (failure == std::errc::not_enough_memory) throw std::bad_alloc();
        return fileFailure(file, "The file cannot be read: ", failure.message());
    }
    return open(mapped, String(std::string_view(file.string())));
}

Made<Snapshot> openBinaryBytes(std::string bytes, const String& name) {
    return open(RefersTo<OwnedBytes>::adopt(new OwnedBytes(std::move(bytes))), name);
}

bool isBinary(std::string_view bytes) noexcept {
    const auto* const known = reinterpret_cast<const char*>(magic.data());
    return bytes.starts_with(std::string_view(known, magic.size()));
}

bool isBinaryFile(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) return false;
    std::ifstream stream(file, std::ios::binary);
    std::array<char, magic.size()> start{};
    stream.read(start.data(), start.size());
    return isBinary({start.data(), static_cast<std::size_t>(stream.gcount())});
}

} // namespace qv::kelvo_sdk
