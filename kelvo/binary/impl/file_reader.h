#pragma once

#include "kelvo/binary/impl/file_bytes.h"
#include "kelvo/binary/impl/layout.h"
#include "kelvo/sdk/snapshot_pieces.h"

#include <cstddef>
#include <span>

namespace qv::kelvo_binary {

/// Gives the pieces of a file in memory. Trusts nothing that the file says before it has checked
/// it.
class FileReader final : public kelvo_sdk::PieceSource {
public:
    FileReader(RefersTo<FileBytes> file, String name) noexcept
        : m_bytes(file->bytes()), m_file(std::move(file)), m_name(std::move(name)) {}

    /// Checks header, trailer and directory; call first.
    kelvo_sdk::Result open();

    [[nodiscard]] u32 pieceCount() const noexcept override { return m_count; }
    kelvo_sdk::Result piece(u32 number, kelvo_sdk::StoredPiece& out) const override;
    kelvo_sdk::Result buffer(u32 number, kelvo_sdk::StoredPiece& out) const override;
    kelvo_sdk::Result check(u32 number) const override;
    [[nodiscard]] String placeOf(u32 number, u64 byte) const override;

private:
    [[nodiscard]] Entry entry(u32 number) const noexcept;
    [[nodiscard]] bool isInside(const Entry& entry) const noexcept;
    [[nodiscard]] kelvo_sdk::Result damageAt(u64 offset, const char* reason) const;
    kelvo_sdk::Result checkHash(const Entry& entry) const;
    kelvo_sdk::Result unpack(const Entry& entry, kelvo_sdk::StoredPiece& out) const;

    std::span<const std::byte> m_bytes;
    RefersTo<FileBytes> m_file;
    String m_name;
    u32 m_count = 0;
    u64 m_directory = 0;
};

} // namespace qv::kelvo_binary
