#pragma once

#include "kelvo/base/data_type.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/types.h"

#include <cstddef>

namespace qv::kelvo_sdk::impl {

/// Owns memory with elements that buffers use in place, for example of a mapped file.
class ForeignElements : public RefCounted {
public:
    /// Tells whether the elements are those that were stored. May read all of them at the first
    /// call. Any thread may call it.
    [[nodiscard]] virtual bool areSound() const noexcept = 0;
};

/// Typed elements in one contiguous block, aligned to 64 bytes; shared on copy, copied on write.
///
/// One pointer wide; null means untyped and empty. Copies may be read from several threads; one
/// thread at a time writes to a given `Buffer`.
class Buffer {
public:
    static constexpr std::size_t alignment = 64;

    Buffer() noexcept = default;
    /// Allocates `count` zeroed elements. Throws std::bad_alloc when memory does not suffice.
    Buffer(DataType type, u64 count);
    /// Allocates `count` elements without a value; the caller writes all of them.
    [[nodiscard]] static Buffer unfilled(DataType type, u64 count);
    /// Copies `count` elements from `data`.
    Buffer(DataType type, const void* data, u64 count);
    /// Uses `count` elements at an address that is aligned like those of other buffers, and that is
    /// valid as long as the owner. Writing copies them.
    [[nodiscard]] static Buffer inPlace(DataType type, const void* data, u64 count,
                                        RefersTo<ForeignElements> owner);
    Buffer(const Buffer& other) noexcept;
    Buffer(Buffer&& other) noexcept;
    Buffer& operator=(const Buffer& other) noexcept;
    Buffer& operator=(Buffer&& other) noexcept;
    ~Buffer();

    [[nodiscard]] DataType type() const noexcept;
    [[nodiscard]] u64 count() const noexcept;
    [[nodiscard]] u64 byteSize() const noexcept;
    /// Returns the elements; null for an empty buffer. Valid until this buffer is written or dies.
    [[nodiscard]] const void* data() const noexcept;
    /// Tells whether the elements are those that were stored; always true for own memory.
    [[nodiscard]] bool isSound() const noexcept;
    /// Returns the elements for writing, after copying them when they are shared.
    [[nodiscard]] void* edit();
    /// Changes the element count; new elements are zero.
    void resize(u64 count);

    /// Hashes type, count and bytes; cached until the next write, never 0.
    [[nodiscard]] u64 hash() const noexcept;
    [[nodiscard]] bool sharesWith(const Buffer& other) const noexcept {
        return m_block == other.m_block;
    }
    /// Compares type, count and bytes.
    friend bool operator==(const Buffer& a, const Buffer& b) noexcept;

private:
    struct Block;
    explicit Buffer(Block* block) noexcept : m_block(block) {}

    Block* m_block = nullptr;
};

} // namespace qv::kelvo_sdk::impl
