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
    if (whole > m_left) openBlock(whole);
    if (m_expected > 1) --m_expected;
    m_left -= whole;
    return std::exchange(m_next, m_next + whole);
}

void RecordSlab::reuse(u64 count) noexcept {
    m_used = m_left = 0;
    m_expected = count;
}

// Opens a block that has room for a record of that size.
void RecordSlab::openBlock(u64 size) {
    if (m_used == m_blocks.size() || m_blocks[m_used].size < size) {
        const u64 whole = std::max(size, std::min(size * m_expected, largestBlock));
        m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(m_used),
                        {std::make_unique_for_overwrite<std::byte[]>(whole), whole});
    }
    const Block& block = m_blocks[m_used++];
    m_next = block.bytes.get();
    m_left = block.size;
}

} // namespace qv::kelvo_sdk::impl
