#include "kelvo/sdk/impl/value/buffer.h"

#include "kelvo/base/hash.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

// Header with the reference count; the elements follow at the next multiple of the alignment,
// unless they are somebody else's.
struct Buffer::Block {
    std::atomic<i32> refs{1};
    DataType type;
    u64 count;
    // 0 when unknown.
    mutable std::atomic<u64> hash{0};
    const char* data = nullptr;
    RefersTo<ForeignElements> owner = {};

    [[nodiscard]] u64 bytes() const noexcept { return count * dataTypeSize(type); }
    // Only elements in own memory may be written.
    [[nodiscard]] char* elements() noexcept { return const_cast<char*>(data); }
    [[nodiscard]] const char* elements() const noexcept { return data; }

    // Leaves the elements uninitialized.
    static Block* create(DataType type, u64 count) {
        const u64 size = dataTypeSize(type);
        if (size == 0) count = 0;
        if (size != 0 && count > (std::numeric_limits<u64>::max() - alignment) / size)
            throw std::bad_alloc();
        void* memory = ::operator new(alignment + count * size, std::align_val_t(alignment));
        auto* const block = ::new (memory) Block{.type = type, .count = count};
        block->data = static_cast<const char*>(memory) + alignment;
        return block;
    }
    void incRef() noexcept { refs.fetch_add(1, std::memory_order_relaxed); }
    void decRef() noexcept {
        if (refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        this->~Block();
        ::operator delete(this, std::align_val_t(alignment));
    }
};

Buffer::Buffer(DataType type, u64 count) : m_block(Block::create(type, count)) {
    std::memset(m_block->elements(), 0, m_block->bytes());
}

Buffer Buffer::unfilled(DataType type, u64 count) {
    return Buffer(Block::create(type, count));
}

Buffer::Buffer(DataType type, const void* data, u64 count) : m_block(Block::create(type, count)) {
    if (m_block->count != 0) std::memcpy(m_block->elements(), data, m_block->bytes());
}

Buffer Buffer::inPlace(DataType type, const void* data, u64 count,
                       RefersTo<ForeignElements> owner) {
    Buffer made(Block::create(type, 0));
    made.m_block->count = count;
    made.m_block->data = static_cast<const char*>(data);
    made.m_block->owner = std::move(owner);
    return made;
}

Buffer::Buffer(const Buffer& other) noexcept : m_block(other.m_block) {
    if (m_block) m_block->incRef();
}

Buffer::Buffer(Buffer&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}

Buffer& Buffer::operator=(const Buffer& other) noexcept {
    Buffer copy(other);
    std::swap(m_block, copy.m_block);
    return *this;
}

Buffer& Buffer::operator=(Buffer&& other) noexcept {
    std::swap(m_block, other.m_block);
    return *this;
}

Buffer::~Buffer() {
    if (m_block) m_block->decRef();
}

DataType Buffer::type() const noexcept {
    return m_block ? m_block->type : DataType::Null;
}

u64 Buffer::count() const noexcept {
    return m_block ? m_block->count : 0;
}

u64 Buffer::byteSize() const noexcept {
    return m_block ? m_block->bytes() : 0;
}

const void* Buffer::data() const noexcept {
    return count() != 0 ? m_block->elements() : nullptr;
}

bool Buffer::isSound() const noexcept {
    return !m_block || !m_block->owner || m_block->owner->areSound();
}

void* Buffer::edit() {
    if (count() == 0) return nullptr;
    if (m_block->owner || m_block->refs.load(std::memory_order_acquire) != 1)
        *this = Buffer(m_block->type, m_block->elements(), m_block->count);
    m_block->hash.store(0, std::memory_order_relaxed);
    return m_block->elements();
}

void Buffer::resize(u64 count) {
    if (!m_block || count == m_block->count) return;
    Buffer resized(Block::create(m_block->type, count));
    const u64 kept = std::min(byteSize(), resized.byteSize());
    std::memcpy(resized.m_block->elements(), m_block->elements(), kept);
    std::memset(resized.m_block->elements() + kept, 0, resized.byteSize() - kept);
    *this = std::move(resized);
}

u64 Buffer::hash() const noexcept {
    // Has the hash of a null buffer, to which it is equal.
    if (type() == DataType::Null && count() == 0) return 1;
    if (const u64 known = m_block->hash.load(std::memory_order_relaxed)) return known;
    const u64 seed = hashMix(static_cast<u64>(m_block->type), m_block->count);
    const u64 width = dataTypeSize(dataTypeComponent(m_block->type));
    const u64 hash =
        std::max<u64>(hashNumbers(m_block->elements(), m_block->bytes(), width, seed), 1);
    m_block->hash.store(hash, std::memory_order_relaxed);
    return hash;
}

bool operator==(const Buffer& a, const Buffer& b) noexcept {
    if (a.m_block == b.m_block) return true;
    return a.type() == b.type() && a.count() == b.count() &&
           (a.count() == 0 || std::memcmp(a.data(), b.data(), a.byteSize()) == 0);
}

} // namespace qv::kelvo_sdk::impl
