#pragma once

#include "kelvo/base/types.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Memory for records that are made and end together. It takes few blocks, because most records of
/// a scene are about as large as the one before.
class RecordSlab {
public:
    /// Expects this number of records.
    explicit RecordSlab(u64 count) noexcept : m_expected(count) {}

    /// Returns memory for the next record, aligned for 64-bit words and valid as long as the slab,
    /// until it is used anew.
    [[nodiscard]] std::byte* take(u64 size);
    /// Gives the same memory to this number of other records. The earlier ones must have ended.
    void reuse(u64 count) noexcept;

private:
    struct Block {
        std::unique_ptr<std::byte[]> bytes;
        u64 size;
    };

    void openBlock(u64 size);

    std::vector<Block> m_blocks;
    // The blocks that have records.
    u64 m_used = 0;
    // The place behind the last record, and the bytes that follow in its block.
    std::byte* m_next = nullptr;
    u64 m_left = 0;
    u64 m_expected;
};

} // namespace qv::kelvo_sdk::impl
