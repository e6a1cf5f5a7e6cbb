#pragma once

#include "kelvo/base/types.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// A growing list in chunks, for the larger part of a tree. A vector would copy all its elements
/// when it grows, and need memory for them twice.
template<typename T>
class TreeList {
public:
    static constexpr u64 chunkSize = 2048;

    /// Places behind the last element. All of them must be filled before the list is used again;
    /// several threads may fill rooms of one list while it makes further ones.
    class Room {
    public:
        /// Returns the position of the first place in the list.
        [[nodiscard]] u64 first() const noexcept { return m_first; }
        void fill(u64 place, T&& element) noexcept {
            static_assert(std::is_nothrow_move_constructible_v<T>);
            const u64 index = m_first % chunkSize + place;
            std::construct_at(m_chunks[index / chunkSize] + index % chunkSize, std::move(element));
        }

    private:
        friend TreeList;
        u64 m_first = 0;
        std::vector<T*> m_chunks;
    };

    TreeList() noexcept = default;
    TreeList(TreeList&& other) noexcept
        : m_chunks(std::move(other.m_chunks)),
          m_size(std::exchange(other.m_size, 0)),
          m_capacity(std::exchange(other.m_capacity, 0)) {}
    TreeList& operator=(TreeList&&) = delete;
    ~TreeList() { destroyAll(); }

    /// Appends an element. As with a vector, the addresses of others may change.
    T& emplace_back() {
        if (m_size == m_capacity) grow(m_size + 1);
        return *std::construct_at(&(*this)[m_size++]);
    }
    /// Appends places for `count` elements.
    [[nodiscard]] Room makeRoom(u64 count) {
        // The address of an element is certain when its chunk has its full size.
        grow(std::max(m_size + count, chunkSize));
        Room room;
        room.m_first = m_size;
        for (u64 chunk = m_size / chunkSize; chunk * chunkSize < m_size + count; ++chunk)
            room.m_chunks.push_back(elements(chunk));
        m_size += count;
        return room;
    }
    [[nodiscard]] T& operator[](u64 index) noexcept {
        return elements(index / chunkSize)[index % chunkSize];
    }
    [[nodiscard]] const T& operator[](u64 index) const noexcept {
        return elements(index / chunkSize)[index % chunkSize];
    }
    [[nodiscard]] u64 size() const noexcept { return m_size; }
    /// Removes all elements and keeps memory for a few.
    void clear() noexcept {
        destroyAll();
        m_size = 0;
        m_capacity = std::min(m_capacity, chunkSize);
        if (m_chunks.size() > 1) m_chunks.erase(m_chunks.begin() + 1, m_chunks.end());
    }

private:
    // Memory for elements, filled or not.
    using Chunk = std::unique_ptr<std::byte[]>;
    static constexpr u64 fewest = 16;
    static_assert(alignof(T) <= alignof(std::max_align_t));

    [[nodiscard]] T* elements(u64 chunk) const noexcept {
        return reinterpret_cast<T*>(m_chunks[chunk].get());
    }
    [[nodiscard]] static Chunk makeChunk(u64 capacity) {
        return std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(T));
    }

    // Makes the capacity at least `size`. The first chunk grows with its elements, because most
    // texts are short.
    void grow(u64 size) {
        if (m_capacity < std::min(size, chunkSize))
            growFirst(std::min(std::max({size, 2 * m_capacity, fewest}), chunkSize));
        for (; m_capacity < size; m_capacity += chunkSize)
            m_chunks.push_back(makeChunk(chunkSize));
    }
    void growFirst(u64 capacity) {
        if (m_chunks.empty()) m_chunks.emplace_back();
        Chunk chunk = makeChunk(capacity);
        if (m_size != 0) {
            std::uninitialized_move_n(elements(0), m_size, reinterpret_cast<T*>(chunk.get()));
            std::destroy_n(elements(0), m_size);
        }
        m_chunks[0] = std::move(chunk);
        m_capacity = capacity;
    }
    void destroyAll() noexcept {
        for (u64 i = 0; i < m_size; i += chunkSize)
            std::destroy_n(elements(i / chunkSize), std::min(m_size - i, chunkSize));
    }

    std::vector<Chunk> m_chunks;
    u64 m_size = 0;
    u64 m_capacity = 0;
};

} // namespace qv::kelvo_sdk::impl
