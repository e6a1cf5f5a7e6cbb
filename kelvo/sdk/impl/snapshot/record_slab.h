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

    /// Returns memory for the next record, aligned for 64-bit words and valid as long as the slab.
    [[nodiscard]] std::byte* take(u64 size);

private:
    std::vector<std::unique_ptr<std::byte[]>> m_blocks;
    // The place behind the last record, and the bytes that follow in its block.
    std::byte* m_next = nullptr;
    u64 m_left = 0;
    u64 m_expected;
};

} // namespace qv::kelvo_sdk::impl
