#include "kelvo/base/string_block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace qv {

namespace {

// The block begins with its reference count: one reference for each expected text, and one for the
// StringBlock itself.
using Count = std::atomic<u64>;

constexpr u64 alignment = alignof(StringBuffer);
static_assert(sizeof(Count) % alignment == 0);

constexpr u64 aligned(u64 size) noexcept {
    return (size + alignment - 1) / alignment * alignment;
}

void release(char* block, u64 references) noexcept {
    auto* count = reinterpret_cast<Count*>(block);
    if (count->fetch_sub(references, std::memory_order_acq_rel) == references) std::free(block);
}

} // namespace

// Offsets in a block have 32 bits, so a block is never larger.
StringBlock::StringBlock(u64 count, u64 bytes) : m_used(sizeof(Count)), m_left(count) {
    constexpr u64 limit = std::numeric_limits<u32>::max();
    if (count == 0 || count > limit || bytes > limit) return;
    m_size = std::min(m_used + count * (StringBuffer::headerSize + alignment) + bytes, limit);
    m_block = static_cast<char*>(std::malloc(m_size));
    if (!m_block) throw std::bad_alloc();
    ::new (m_block) Count(count + 1);
}

StringBlock::~StringBlock() {
    if (m_block) release(m_block, m_left + 1);
}

String StringBlock::add(std::string_view text) {
    if (text.empty() || m_left == 0 || text.size() >= m_size) return String(text);
    const u64 size = aligned(StringBuffer::headerSize + text.size() + 1);
    if (size > m_size - m_used) return String(text);
    StringBuffer* buffer = StringBuffer::inBlock(m_block, static_cast<u32>(m_used), text.size());
    std::memcpy(buffer->text(), text.data(), text.size());
    m_used += size;
    --m_left;
    return String(adoptRef, buffer);
}

void StringBuffer::destroy(StringBuffer* buffer) noexcept {
    const u32 offset = buffer->m_blockOffset;
    buffer->~StringBuffer();
    if (offset != 0)
        release(reinterpret_cast<char*>(buffer) - offset, 1);
    else
        std::free(buffer);
}

} // namespace qv
