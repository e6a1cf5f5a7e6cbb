#include "kelvo/sdk/impl/snapshot/record_slab.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// A block of more records may be larger than its records turn out to need.
constexpr u64 largestBlock = u64{64} << 10;

} // namespace

std::byte* RecordSlab::take(u64 size) {
    const u64 whole = (size + sizeof(u64) - 1) / sizeof(u64) * sizeof(u64);
    if (whole > m_left) {
        const u64 block = std::max(whole, std::min(whole * m_expected, largestBlock));
        m_blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(block));
        m_next = m_blocks.back().get();
        m_left = block;
    }
    if (m_expected > 1) --m_expected;
    m_left -= whole;
    return std::exchange(m_next, m_next + whole);
}

} // namespace qv::kelvo_sdk::impl
